#!/usr/bin/env python3
"""The documents of every golden case (tests/e2e/cases) against the schemas in schemas/.

    golden_documents.py [--schemas DIR]

1. Every response and menu update a case expects tavio to write (expected.json, unless it is
   the old response the case starts with, output.initial, left in place) is valid, as the
   kind its request asks for (a menu update without a request).
2. Every request a case sends (request.json) is valid, except the ones below: those that
   tavio refuses for what the request itself holds must not be valid either, and those that
   tavio answers though they are not well formed (elements it skips, a list it does without)
   must not be valid while tavio answers them. So the request schemas are as strict as
   tavio's reading wherever that shows, and the cases' expected output proves which is which.
3. Hand-made documents, each a golden document with one fault, are all rejected.

Prints how many documents of each kind were checked; fails when any kind has none.
Exit status 77 (skipped) when python3-jsonschema is missing.
"""

import argparse
import copy
import json
import os
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
sys.dont_write_bytecode = True  # nothing written into the source tree
import validate_documents  # noqa: E402  pylint: disable=wrong-import-position

CASES = os.path.normpath(os.path.join(HERE, "..", "e2e", "cases"))
ANSWERED = "Success to generate output file"

# Requests tavio refuses because of what they hold: no response, an "Error: " line.
REFUSED = {
    "request-array": "an array, not an object",
    "request-empty-object": "no type, no req",
    "request-no-req": "no req",
    "request-not-json": "not JSON",
    "request-type-empty": "an empty type",
    "request-type-missing": "no type",
    "request-type-number": "a type that is not a string",
    "request-type-unknown": "a type tavio only writes (menuUpdate)",
    "request-type-wrong-case": "valueread, not valueRead",
    "request-later-input-wins": "valueread, not valueRead",
    "menu-no-panel": "no panel",
    "menu-font-not-array": "a font table that is not an array",
    "menu-ref-unknown": "a ref that names no menu",
}
# Requests tavio answers though they are not well formed.
TOLERATED = {
    "read-identifiers": "list elements that are not objects or have no k (skipped)",
    "read-no-list": "no list (answered with an empty one)",
    "write-declined-and-unknown": "list elements without k or v (skipped, or v taken as \"\")",
}


def load(path):
    with open(path, encoding="utf-8") as handle:
        return json.load(handle)


def items(menu):
    """Every item of a menu, submenus and dashboard groups included."""
    for item in menu:
        yield item
        yield from items(item.get("m", []))
        yield from items(item.get("i", {}).get("m", []))


def first(document, test):
    body = document.get("resp") or document.get("req")
    return next(found for found in items(body["menu"]) if test(found))


def item(document, wanted):
    return first(document, lambda found: found.get("id") == wanted)


def entry(document):
    return document["resp"]["list"][0]


def is_poll(found):
    return "qt" in found.get("c", {})


def is_separator(found):
    return list(found) == ["t"]


def moved(document, old, new):
    document[new] = document.pop(old)


# Hand-made faults, by the golden document (case, request or response) each one changes.
FAULTS = {
    ("write-reboot", "response"): [
        ("a status word other than ok/failed", lambda d: entry(d).update(status="done")),
        ("an action_status with status failed", lambda d: entry(d).update(status="failed")),
        ("an action_status without its message", lambda d: entry(d).pop("msg")),
        ("an action_status tavio never writes",
         lambda d: entry(d).update(action_status="shutting_down")),
        ("an extra key in a write result", lambda d: entry(d).update(done=True))],
    ("read-systime", "response"): [
        ("an extra key in a value entry", lambda d: entry(d).update(extra="x")),
        ("a value entry without k", lambda d: entry(d).pop("k")),
        ("a value that is not a string", lambda d: entry(d).update(v=7)),
        ("a ttl that is a string", lambda d: entry(d).update(ttl="5")),
        ("a value read answered as a value write", lambda d: d.update(type="valueWrite")),
        ("an extra key beside the list", lambda d: d["resp"].update(more=[]))],
    ("menu-top-default", "response"): [
        ("a menu item with both c and m",
         lambda d: item(d, "system_main").update(c={"st": "text"})),
        ("a poll entry without ttl", lambda d: first(d, is_poll)["c"].pop("ttl")),
        ("a query type other than poll", lambda d: first(d, is_poll)["c"].update(qt="push")),
        ("a polled entry that is write only", lambda d: first(d, is_poll)["c"].update(a="w")),
        ("a confirmation with a choice tavio never offers",
         lambda d: item(d, "reboot")["c"].update(select=["No", "Maybe"])),
        ("a confirmation that is polled", lambda d: item(d, "reboot")["c"].update(qt="poll")),
        ("a separator that is not dashes", lambda d: first(d, is_separator).update(t="=====")),
        ("a text item whose text is not a string",
         lambda d: item(d, "system_fw")["c"].update(st=["X1"])),
        ("an item without id", lambda d: item(d, "system_time").pop("id")),
        ("a submenu that is not an array", lambda d: item(d, "system_sub").update(m={})),
        ("a menu answer with its body under req", lambda d: moved(d, "resp", "req"))],
    ("menu-named-main-signed-out", "response"): [
        ("a ref that names no menu", lambda d: d["resp"].update(ref="Main_menu"))],
    ("menu-dashboard-home", "response"): [
        ("a dashboard line lit with another word",
         lambda d: item(d, "wan_info_dashboard")["i"]["il"][0].update({"is": "off"}))],
    ("menu-update-keycode", "response"): [
        ("a passcode input without i_max", lambda d: item(d, "panel_sign_in")["c"].pop("i_max")),
        ("a keypad input type other than ks", lambda d: d["req"]["it"][0].update(tp="kb")),
        ("a menu update with its body under resp", lambda d: moved(d, "req", "resp"))],
    ("menu-update-text", "response"): [
        ("custom content with a title", lambda d: d["req"]["menu"][0].update(t="Title"))],
    ("menu-top-default", "request"): [
        ("an empty font table", lambda d: d["req"]["panel"].update(font=[])),
        ("a font size given as text", lambda d: d["req"]["panel"]["font"][0].update(ch="21")),
        ("a font table entry without ln", lambda d: d["req"]["panel"]["font"][0].pop("ln")),
        ("a theme that is not a string", lambda d: d["req"]["panel"].update(theme=2))],
    ("menu-named-main-signed-out", "request"): [
        ("a ref in the wrong case", lambda d: d["req"].update(ref="Main_menu"))],
    ("read-systime", "request"): [
        ("an identifier that is a number", lambda d: d["req"]["list"][0].update(k=7)),
        ("a list that is an object", lambda d: d["req"].update(list={"k": "systime"}))],
    ("write-reboot", "request"): [
        ("a written value that is not a string", lambda d: d["req"]["list"][0].update(v=True)),
        ("a request type in the wrong case", lambda d: d.update(type="valuewrite"))],
}


def produced(case):
    """The response document the case expects tavio to write, or None."""
    expected = os.path.join(case, "expected.json")
    if not os.path.exists(expected):
        return None
    initial = os.path.join(case, "output.initial")
    if os.path.exists(initial):
        with open(initial, "rb") as old, open(expected, "rb") as new:
            if old.read() == new.read():
                return None  # the old response, left in place by a refused run
    return load(expected)


def request_kind(request):
    request_type = request.get("type") if isinstance(request, dict) else None
    if request_type in validate_documents.REQUEST_TYPES:
        return request_type + ".request"
    return None


def main(argv):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", 1)[0])
    parser.add_argument("--schemas", default=validate_documents.SCHEMAS)
    options = parser.parse_args(argv)
    try:
        documents = validate_documents.Documents(options.schemas)
    except validate_documents.ValidatorMissing as error:
        print("SKIP: %s" % error)
        return 77
    print("schemas: %s; jsonschema %s at %s" % (
        options.schemas, validate_documents.jsonschema_release(),
        os.path.dirname(validate_documents.jsonschema.__file__)))
    failures = []
    rejected_requests = 0
    names = sorted(name for name in os.listdir(CASES)
                   if os.path.isdir(os.path.join(CASES, name)))
    for name in names:
        case = os.path.join(CASES, name)
        request_path = os.path.join(case, "request.json")
        request = None
        if os.path.exists(request_path):
            with open(os.path.join(case, "expected.stdout"), encoding="utf-8") as handle:
                answered = ANSWERED in handle.read()
            try:
                request = load(request_path)
                kind = request_kind(request)
                problems = documents.errors(request, kind) if kind else [
                    "its type is none tavio answers"]
            except ValueError as error:
                request, kind, problems = None, None, ["not JSON: %s" % error]
            if name in REFUSED or name in TOLERATED:
                if not problems:
                    failures.append("%s: the request is valid, yet it has %s" % (
                        name, REFUSED.get(name) or TOLERATED.get(name)))
                elif answered != (name in TOLERATED):
                    failures.append("%s: tavio %s the request; the table says otherwise" % (
                        name, "answers" if answered else "refuses"))
                else:
                    rejected_requests += 1
            elif problems:
                failures.append("%s: request.json is not a valid %s: %s" % (
                    name, kind, "; ".join(problems)))
            else:
                documents.counts[kind] += 1
        response = produced(case)
        if response is not None:
            kind = "menuUpdate" if request is None else request["type"] + ".response"
            try:
                documents.check(response, kind, "%s: expected.json" % name)
            except validate_documents.SchemaViolation as error:
                failures.append(str(error))
    for table in (REFUSED, TOLERATED):
        failures += ["%s: no such case with a request" % name for name in table
                     if not os.path.exists(os.path.join(CASES, name, "request.json"))]

    caught = 0
    for (name, role), faults in FAULTS.items():
        request_path = os.path.join(CASES, name, "request.json")
        request = load(request_path) if os.path.exists(request_path) else None
        if role == "request":
            document, kind = request, request_kind(request)
        else:
            document = load(os.path.join(CASES, name, "expected.json"))
            kind = "menuUpdate" if request is None else request["type"] + ".response"
        if documents.errors(document, kind):
            failures.append("%s: the unchanged %s is not valid; its faults untested" % (
                name, role))
            continue
        for what, change in faults:
            faulty = copy.deepcopy(document)
            change(faulty)
            if documents.errors(faulty, kind):
                caught += 1
            else:
                failures.append("accepted: %s (%s of %s)" % (what, role, name))
    for kind in validate_documents.KINDS:
        if documents.errors({}, kind):
            caught += 1
        else:
            failures.append("accepted: an empty object as %s" % kind)

    print("golden documents valid, by kind:")
    for kind in validate_documents.KINDS:
        print("  %-20s %3d" % (kind, documents.counts[kind]))
        if documents.counts[kind] == 0:
            failures.append("no golden %s was checked" % kind)
    print("  %-20s %3d (refused or tolerated by tavio, rejected by the schema)" % (
        "bad requests", rejected_requests))
    planted = sum(map(len, FAULTS.values())) + len(validate_documents.KINDS)
    print("  %-20s %3d of %d rejected" % ("faulty documents", caught, planted))
    for failure in failures:
        print("FAIL " + failure)
    if failures:
        return 1
    print("PASS: %d golden documents valid" % sum(documents.counts.values()))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

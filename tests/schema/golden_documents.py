#!/usr/bin/env python3
"""The documents of every golden case (tests/e2e/cases) against the schemas in schemas/.

Every response and menu update a case expects tavio to write (expected.json, unless it is the
old response output.initial left in place) and every request it sends is valid, but for the
requests in REFUSED and TOLERATED, which are not and which the case shows tavio refusing or
answering. Hand-made documents, each a golden one with one fault, are all rejected.
Exit status 77 (skipped) when python3-jsonschema is missing.
"""

import copy
import json
import pathlib
import sys

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))
sys.dont_write_bytecode = True  # nothing written into the source tree
import validate_documents  # noqa: E402  pylint: disable=wrong-import-position

CASES = HERE.parent / "e2e" / "cases"
ANSWERED = "Success to generate output file"

# Requests of a type tavio answers that it refuses for what they hold (no req, no panel, a font
# table that is not an array, a ref that names no menu): no response, an "Error: " line. (A
# request of any other type, or not JSON, is refused and no schema's.)
REFUSED = {"request-no-req", "menu-no-panel", "menu-font-not-array", "menu-ref-unknown"}
# Requests tavio answers though they are not well formed: list elements that are not objects or
# lack k or v (skipped, or v taken as ""), no list (answered with an empty one).
TOLERATED = {"read-identifiers", "read-no-list", "write-declined-and-unknown"}


def load(path):
    return json.loads(path.read_text(encoding="utf-8"))


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


# Hand-made faults, by the golden document (case, request or response) each one changes.
FAULTS = {
    ("write-reboot", "response"): [
        ("a status word other than ok/failed", lambda d: entry(d).update(status="done")),
        ("an action_status with status failed", lambda d: entry(d).update(status="failed")),
        ("an action_status without its message", lambda d: entry(d).pop("msg")),
        ("an unknown action_status", lambda d: entry(d).update(action_status="halting")),
        ("an extra key in a write result", lambda d: entry(d).update(done=True))],
    ("read-systime", "response"): [
        ("an extra key in a value entry", lambda d: entry(d).update(extra="x")),
        ("a value entry without k", lambda d: entry(d).pop("k")),
        ("a value that is not a string", lambda d: entry(d).update(v=7)),
        ("a ttl that is a string", lambda d: entry(d).update(ttl="5")),
        ("a value read answered as a value write", lambda d: d.update(type="valueWrite")),
        ("an extra key beside the list", lambda d: d["resp"].update(more=[]))],
    ("menu-top-default", "response"): [
        ("an item with both c and m", lambda d: item(d, "system_main").update(c={"st": "x"})),
        ("a poll entry without ttl", lambda d: first(d, is_poll)["c"].pop("ttl")),
        ("a query type other than poll", lambda d: first(d, is_poll)["c"].update(qt="push")),
        ("a polled entry that is write only", lambda d: first(d, is_poll)["c"].update(a="w")),
        ("an unknown choice", lambda d: item(d, "reboot")["c"].update(select=["No", "Maybe"])),
        ("a separator of =", lambda d: first(d, lambda f: list(f) == ["t"]).update(t="==")),
        ("a text that is not a string", lambda d: item(d, "system_fw")["c"].update(st=["X1"])),
        ("an item without id", lambda d: item(d, "system_time").pop("id")),
        ("a submenu that is not an array", lambda d: item(d, "system_sub").update(m={})),
        ("a menu answer with its body under req", lambda d: d.update(req=d.pop("resp")))],
    ("menu-named-main-signed-out", "response"): [
        ("a ref that names no menu", lambda d: d["resp"].update(ref="Main_menu"))],
    ("menu-dashboard-home", "response"): [
        ("a dashboard line lit with another word",
         lambda d: item(d, "wan_info_dashboard")["i"]["il"][0].update({"is": "off"}))],
    ("menu-update-keycode", "response"): [
        ("a passcode input without i_max", lambda d: item(d, "panel_sign_in")["c"].pop("i_max")),
        ("a keypad input type other than ks", lambda d: d["req"]["it"][0].update(tp="kb")),
        ("a menu update with its body under resp", lambda d: d.update(resp=d.pop("req")))],
    ("menu-update-text", "response"): [
        ("custom content with a title", lambda d: d["req"]["menu"][0].update(t="Title"))],
    ("menu-top-default", "request"): [
        ("an empty font table", lambda d: d["req"]["panel"].update(font=[])),
        ("a font size given as text", lambda d: d["req"]["panel"]["font"][0].update(ch="21")),
        ("a font table entry without ln", lambda d: d["req"]["panel"]["font"][0].pop("ln")),
        ("a theme that is not a string", lambda d: d["req"]["panel"].update(theme=2))],
    ("read-systime", "request"): [
        ("an identifier that is a number", lambda d: d["req"]["list"][0].update(k=7)),
        ("a list that is an object", lambda d: d["req"].update(list={"k": "systime"}))],
    ("write-reboot", "request"): [
        ("a written value that is not a string", lambda d: d["req"]["list"][0].update(v=True)),
        ("a request type in the wrong case", lambda d: d.update(type="valuewrite"))],
}


def documents_of(name):
    """A case's request (None for a menu update; not JSON: raises ValueError), its kind (None
    for a type no schema has) and the response it expects (None when tavio writes none)."""
    case = CASES / name
    request = load(case / "request.json") if (case / "request.json").exists() else None
    kind = request.get("type") if isinstance(request, dict) else None
    expected, initial = case / "expected.json", case / "output.initial"
    kept = initial.exists() and initial.read_bytes() == expected.read_bytes()
    response = load(expected) if expected.exists() and not kept else None
    return request, kind if kind in validate_documents.REQUEST_TYPES else None, response


def main():
    try:
        documents = validate_documents.Documents()
    except validate_documents.ValidatorMissing as error:
        print("SKIP: %s" % error)
        return 77
    failures, rejected = [], 0

    def check(document, kind, name):
        try:
            documents.check(document, kind, name)
        except validate_documents.SchemaViolation as error:
            failures.append(str(error))

    for name in sorted(case.name for case in CASES.iterdir()):
        try:
            request, kind, response = documents_of(name)
        except ValueError:
            request, kind, response = {}, None, None  # not JSON
        if request is not None and (kind is None or name in REFUSED | TOLERATED):
            answered = ANSWERED in (CASES / name / "expected.stdout").read_text()
            if kind and not documents.errors(request, kind + ".request"):
                failures.append("%s: the request is valid, yet refused or tolerated" % name)
            elif answered != (name in TOLERATED):
                failures.append("%s: tavio %s the request; the table says otherwise" % (
                    name, "answers" if answered else "refuses"))
            rejected += 1
        elif request is not None:
            check(request, kind + ".request", name)
        if response is not None:
            check(response, kind + ".response" if request else "menuUpdate", name)
    failures += ["%s: no such case with a request" % name for name in REFUSED | TOLERATED
                 if not (CASES / name / "request.json").exists()]

    planted = [({}, kind, "an empty object as " + kind) for kind in validate_documents.KINDS]
    for (name, role), faults in FAULTS.items():
        request, kind, response = documents_of(name)
        document = request if role == "request" else response
        kind = "%s.%s" % (kind, role) if request else "menuUpdate"
        if documents.errors(document, kind):
            failures.append("%s: the unchanged %s is not valid" % (name, role))
        for what, change in faults:
            planted.append((copy.deepcopy(document), kind, "%s (%s of %s)" % (what, role, name)))
            change(planted[-1][0])
    accepted = [what for document, kind, what in planted if not documents.errors(document, kind)]
    failures += ["accepted: " + what for what in accepted]

    failures += ["no golden %s was checked" % kind for kind in validate_documents.KINDS
                 if not documents.counts[kind]]
    print("golden cases: %s; %d bad requests and %d of %d faulty documents rejected" % (
        documents.summary(), rejected, len(planted) - len(accepted), len(planted)))
    for failure in failures:
        print("FAIL " + failure)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())

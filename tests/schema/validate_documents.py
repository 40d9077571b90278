#!/usr/bin/env python3
"""Checks tavio's documents against the JSON Schemas in schemas/ (draft 2020-12).

    validate_documents.py --golden

Every response and menu update a case of tests/e2e/cases expects tavio to write (expected.json,
unless it is the old response output.initial left in place) and every request it sends is
valid, but for the requests in REFUSED and TOLERATED, which are not and which the case shows
tavio refusing or answering; hand-made documents, each a golden one with one fault, are all
rejected. Exit status 77 (skipped) when python3-jsonschema is missing. The schemas are loaded
from the one folder, never fetched. The simulator cases and the emulator walk check the
documents they exchange with Documents.
"""

import collections
import copy
import glob
import json
import os
import pathlib
import sys

try:
    import jsonschema
except ImportError:  # reported when a Documents is made
    jsonschema = None
try:  # jsonschema 4.18 and later: references go through a registry, which fetches nothing
    from referencing import Registry
    from referencing.jsonschema import DRAFT202012
except ImportError:
    Registry = None

SCHEMAS = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)),
                                        "..", "..", "schemas"))
REQUEST_TYPES = ("valueRead", "valueWrite", "menuReq")
KINDS = tuple(t + "." + role for t in REQUEST_TYPES for role in ("request", "response")) + (
    "menuUpdate",)


class SchemaViolation(ValueError):
    """A document that its schema does not accept."""


class ValidatorMissing(RuntimeError):
    """No usable jsonschema in this interpreter."""


def _validators(folder):
    """A Draft202012Validator for every document kind, the shared parts loaded from folder."""
    if jsonschema is None or not hasattr(jsonschema, "Draft202012Validator"):
        raise ValidatorMissing("the document check needs python3-jsonschema 4 or later")
    store = {}
    for path in sorted(glob.glob(os.path.join(folder, "*.schema.json"))):
        with open(path, encoding="utf-8") as handle:
            schema = json.load(handle)
        jsonschema.Draft202012Validator.check_schema(schema)
        store[schema["$id"]] = schema
    missing = [kind for kind in KINDS if kind + ".schema.json" not in store]
    if missing:
        raise ValidatorMissing("no schema in %s for %s" % (folder, ", ".join(missing)))
    if Registry is not None:
        registry = Registry().with_resources(
            (uri, DRAFT202012.create_resource(schema)) for uri, schema in store.items())
        options = {kind: {"registry": registry} for kind in KINDS}
    else:
        class LocalResolver(jsonschema.RefResolver):
            """Resolves from the loaded files only; a reference elsewhere is an error."""

            def resolve_remote(self, uri):
                raise jsonschema.RefResolutionError("%s is not one of the schema files" % uri)

        options = {kind: {"resolver": LocalResolver(kind + ".schema.json",
                                                    store[kind + ".schema.json"], store=store)}
                   for kind in KINDS}
    return {kind: jsonschema.Draft202012Validator(store[kind + ".schema.json"], **options[kind])
            for kind in KINDS}


def describe(error):
    where = "/".join(str(part) for part in error.absolute_path) or "(document)"
    return "at %s: %s" % (where, error.message[:300])


class Documents:
    """The validators of every document kind, and how many documents of each were valid."""

    def __init__(self, folder=SCHEMAS):
        self.validators = _validators(folder)
        self.counts = collections.Counter()

    def errors(self, document, kind):
        """What is wrong with document as a document of kind (nothing when it is valid)."""
        if kind not in self.validators:
            return ["%r is not a document kind tavio knows" % (kind,)]
        found = list(self.validators[kind].iter_errors(document))
        if not found:
            return []
        best = jsonschema.exceptions.best_match(found)
        return [describe(best)] + [describe(error) for error in found if error is not best][:4]

    def check(self, document, kind, name="document"):
        """Counts a valid document; raises SchemaViolation for one that is not."""
        problems = self.errors(document, kind)
        if problems:
            raise SchemaViolation("%s is not a valid %s: %s" % (name, kind, "; ".join(problems)))
        self.counts[kind] += 1

    def check_exchange(self, request, response):
        """One exchange: the request sent (None for a menu update) and the response document
        tavio wrote (None when it wrote none)."""
        request_type = request.get("type") if isinstance(request, dict) else None
        if request is not None:
            self.check(request, "%s.request" % request_type, "the request")
        if response is not None:
            kind = "menuUpdate" if request is None else "%s.response" % request_type
            self.check(response, kind, "the response")

    def summary(self):
        total = sum(self.counts.values())
        return "%d document%s valid (%s)" % (
            total, "" if total == 1 else "s",
            ", ".join("%s %d" % (kind, self.counts[kind]) for kind in KINDS if self.counts[kind])
            or "none")



CASES = pathlib.Path(SCHEMAS).parent / "tests" / "e2e" / "cases"

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
        ("an action_status without its message", lambda d: entry(d).pop("msg")),
        ("an unknown action_status", lambda d: entry(d).update(action_status="halting"))],
    ("read-systime", "response"): [
        ("a value that is not a string", lambda d: entry(d).update(v=7)),
        ("a value read answered as a value write", lambda d: d.update(type="valueWrite"))],
    ("menu-top-default", "response"): [
        ("an item with both c and m", lambda d: item(d, "system_main").update(c={"st": "x"})),
        ("a poll entry without ttl", lambda d: first(d, is_poll)["c"].pop("ttl")),
        ("an unknown choice", lambda d: item(d, "reboot")["c"].update(select=["No", "Maybe"])),
        ("a menu answer with its body under req", lambda d: d.update(req=d.pop("resp")))],
    ("menu-named-main-signed-out", "response"): [
        ("a ref that names no menu", lambda d: d["resp"].update(ref="Main_menu"))],
    ("menu-dashboard-home", "response"): [
        ("a dashboard line lit with another word",
         lambda d: item(d, "wan_info_dashboard")["i"]["il"][0].update({"is": "off"}))],
    ("menu-update-keycode", "response"): [
        ("a keypad input type other than ks", lambda d: d["req"]["it"][0].update(tp="kb"))],
    ("menu-update-text", "response"): [
        ("custom content with a title", lambda d: d["req"]["menu"][0].update(t="Title"))],
    ("menu-top-default", "request"): [
        ("an empty font table", lambda d: d["req"]["panel"].update(font=[]))],
    ("read-systime", "request"): [
        ("an identifier that is a number", lambda d: d["req"]["list"][0].update(k=7))],
    ("write-reboot", "request"): [
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
    return request, kind if kind in REQUEST_TYPES else None, response


def check_golden():
    try:
        documents = Documents()
    except ValidatorMissing as error:
        print("SKIP: %s" % error)
        return 77
    failures, rejected = [], 0

    def check(document, kind, name):
        try:
            documents.check(document, kind, name)
        except SchemaViolation as error:
            failures.append(str(error))

    for name in sorted(case.name for case in CASES.iterdir()):
        try:
            request, kind, response = documents_of(name)
        except ValueError:
            request, kind, response = {}, None, None  # not JSON
        if request is not None and (kind is None or name in REFUSED | TOLERATED):
            if kind and not documents.errors(request, kind + ".request"):
                failures.append("%s: the request is valid, yet refused or tolerated" % name)
            rejected += 1
        elif request is not None:
            check(request, kind + ".request", name)
        if response is not None:
            check(response, kind + ".response" if request else "menuUpdate", name)

    planted = [({}, kind, "an empty object as " + kind) for kind in KINDS]
    for (name, role), faults in FAULTS.items():
        request, kind, response = documents_of(name)
        document = request if role == "request" else response
        kind = "%s.%s" % (kind, role) if request else "menuUpdate"
        for what, change in faults:
            planted.append((copy.deepcopy(document), kind, "%s (%s of %s)" % (what, role, name)))
            change(planted[-1][0])
    accepted = [what for document, kind, what in planted if not documents.errors(document, kind)]
    failures += ["accepted: " + what for what in accepted]

    failures += ["no golden %s was checked" % kind for kind in KINDS
                 if not documents.counts[kind]]
    print("golden cases: %s; %d bad requests and %d of %d faulty documents rejected" % (
        documents.summary(), rejected, len(planted) - len(accepted), len(planted)))
    for failure in failures:
        print("FAIL " + failure)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(check_golden() if sys.argv[1:] == ["--golden"] else
             "usage: validate_documents.py --golden")

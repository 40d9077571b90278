#!/usr/bin/env python3
"""Checks tavio's documents against the JSON Schemas in schemas/ (draft 2020-12).

    validate_documents.py [--schemas DIR] [--as KIND] FILE...

KIND is one of KINDS, else each file's kind follows from its "type" and whether its body is
under "req" or "resp". Exit status 1 when a file is not valid, 2 when the validator cannot be
used. The schemas are loaded from the one folder, never fetched.
"""

import argparse
import collections
import glob
import json
import os
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


def kind_of(document):
    """The kind a document says it is, or None."""
    doc_type = document.get("type") if isinstance(document, dict) else None
    if doc_type in REQUEST_TYPES:
        return doc_type + (".response" if "resp" in document else ".request")
    return "menuUpdate" if doc_type == "menuUpdate" else None


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


def main(argv):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", 1)[0])
    parser.add_argument("--schemas", default=SCHEMAS, help="the folder of the schema files")
    parser.add_argument("--as", dest="kind", choices=KINDS, help="the kind of every file")
    parser.add_argument("files", nargs="+", metavar="FILE")
    options = parser.parse_args(argv)
    try:
        documents = Documents(options.schemas)
    except (ValidatorMissing, OSError, ValueError) as error:
        print("validate_documents: %s" % error, file=sys.stderr)
        return 2
    invalid = 0
    for path in options.files:
        try:
            with open(path, encoding="utf-8") as handle:
                document = json.load(handle)
            kind = options.kind or kind_of(document)
            documents.check(document, kind, path)
            print("%s: valid %s" % (path, kind))
        except (OSError, ValueError) as error:  # SchemaViolation is a ValueError
            print(error if isinstance(error, SchemaViolation) else
                  "%s: not a JSON document: %s" % (path, error))
            invalid += 1
    return 1 if invalid else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

#!/usr/bin/env python3
"""Checks tavio's documents against the JSON Schemas in schemas/ (draft 2020-12).

    validate_documents.py [--schemas DIR] [--as KIND] FILE...

KIND is one of valueRead.request, valueRead.response, valueWrite.request, valueWrite.response,
menuReq.request, menuReq.response, menuUpdate; without --as each file's kind follows from its
"type" and whether its body sits under "req" or "resp". Prints one line per file and ends with
exit status 1 when any file is not valid, 2 when the validator cannot be used.

As a module: Documents().check_exchange(request, response) checks one exchange, as the
simulator cases and the emulator walk do after every run of tavio, and raises SchemaViolation
(a ValueError) when a document is not valid. The validator is Debian's python3-jsonschema
(Draft202012Validator); the schema files reference each other by relative "$ref" and are all
loaded from the one folder, never fetched.
"""

import argparse
import collections
import glob
import importlib.metadata
import json
import os
import sys

try:
    import jsonschema
except ImportError:  # reported when a Documents is made
    jsonschema = None

SCHEMAS = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)),
                                        "..", "..", "schemas"))
REQUEST_TYPES = ("valueRead", "valueWrite", "menuReq")
KINDS = tuple(t + "." + role for t in REQUEST_TYPES for role in ("request", "response")) + (
    "menuUpdate",)


class SchemaViolation(ValueError):
    """A document that its schema does not accept."""


class ValidatorMissing(RuntimeError):
    """No usable jsonschema in this interpreter."""


def jsonschema_release():
    """The installed jsonschema's version, e.g. "4.10.3"."""
    return importlib.metadata.version("jsonschema")


def jsonschema_version():
    """The installed jsonschema's major and minor version numbers."""
    return tuple(int(part) for part in jsonschema_release().split(".")[:2] if part.isdigit())


def _validators(folder):
    """A Draft202012Validator for every document kind, the shared parts loaded from folder."""
    if jsonschema is None or not hasattr(jsonschema, "Draft202012Validator"):
        raise ValidatorMissing("the document check needs python3-jsonschema 4 or later "
                               "(Draft202012Validator): apt-get install python3-jsonschema")
    store = {}
    for path in sorted(glob.glob(os.path.join(folder, "*.schema.json"))):
        with open(path, encoding="utf-8") as handle:
            schema = json.load(handle)
        if schema.get("$id") != os.path.basename(path):
            raise ValidatorMissing("%s: its $id is not its file name" % path)
        jsonschema.Draft202012Validator.check_schema(schema)
        store[schema["$id"]] = schema
    missing = [kind for kind in KINDS if kind + ".schema.json" not in store]
    if missing:
        raise ValidatorMissing("no schema in %s for %s" % (folder, ", ".join(missing)))
    if jsonschema_version() >= (4, 18):
        # Since 4.18 references go through a registry; it never retrieves what it lacks.
        from referencing import Registry  # pylint: disable=import-outside-toplevel
        from referencing.jsonschema import DRAFT202012  # pylint: disable=import-outside-toplevel
        registry = Registry().with_resources(
            (uri, DRAFT202012.create_resource(schema)) for uri, schema in store.items())
        return {kind: jsonschema.Draft202012Validator(store[kind + ".schema.json"],
                                                      registry=registry) for kind in KINDS}

    class LocalResolver(jsonschema.RefResolver):
        """Resolves from the loaded files only; a reference elsewhere is an error."""

        def resolve_remote(self, uri):
            raise jsonschema.RefResolutionError("%s is not one of the schema files" % uri)

    return {kind: jsonschema.Draft202012Validator(
        store[kind + ".schema.json"],
        resolver=LocalResolver(kind + ".schema.json", store[kind + ".schema.json"],
                               store=store)) for kind in KINDS}


def kind_of(document):
    """The kind a document says it is, or None."""
    if not isinstance(document, dict):
        return None
    doc_type = document.get("type")
    if doc_type == "menuUpdate":
        return "menuUpdate"
    if doc_type in REQUEST_TYPES:
        return doc_type + (".response" if "resp" in document else ".request")
    return None


def describe(error):
    where = "/".join(str(part) for part in error.absolute_path) or "(document)"
    return "at %s: %s" % (where, error.message[:300])


class Documents:
    """The validators of every document kind, and how many documents of each were valid."""

    def __init__(self, folder=SCHEMAS):
        self.folder = folder
        self.validators = _validators(folder)
        self.counts = collections.Counter()

    def errors(self, document, kind):
        """What is wrong with document as a document of kind (nothing when it is valid)."""
        if kind is None:
            return ["its \"type\" names no document tavio reads or writes"]
        if kind not in self.validators:
            return ["%r is not a document kind tavio knows" % (kind,)]
        found = sorted(self.validators[kind].iter_errors(document),
                       key=lambda error: list(error.absolute_path))
        if not found:
            return []
        best = jsonschema.exceptions.best_match(found)
        return [describe(best)] + [describe(error) for error in found if error is not best][:4]

    def check(self, document, kind, name="document"):
        """Counts a valid document; raises SchemaViolation for one that is not."""
        problems = self.errors(document, kind)
        if problems:
            raise SchemaViolation("%s is not a valid %s: %s" % (
                name, kind or "document", "; ".join(problems)))
        self.counts[kind] += 1

    def check_exchange(self, request, response):
        """One exchange with tavio: the request sent (None for a menu update) and the response
        document it wrote (None when it wrote none)."""
        request_type = None
        if request is not None:
            request_type = request.get("type") if isinstance(request, dict) else None
            if request_type not in REQUEST_TYPES:
                raise SchemaViolation("the request's type %r is none tavio answers"
                                      % (request_type,))
            self.check(request, request_type + ".request", "the request")
        if response is not None:
            kind = "menuUpdate" if request is None else request_type + ".response"
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
        except (OSError, ValueError) as error:
            print("%s: not a JSON document: %s" % (path, error))
            invalid += 1
            continue
        kind = options.kind or kind_of(document)
        try:
            documents.check(document, kind, path)
            print("%s: valid %s" % (path, kind))
        except SchemaViolation as error:
            print(error)
            invalid += 1
    return 1 if invalid else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

#!/usr/bin/python3
"""Validates JSON objects, one a line, against a schema.

    check_objects.py SCHEMA OBJECTS   every object of the file has to be valid
    check_objects.py SCHEMA           the schema has to reject wrong objects of each type

The tests append every object to one file, which is validated once when they have ended, because the library loads
slowly. A missing file has no objects.
"""
import json
import os
import sys

import jsonschema

EXAMPLES = [
    {"type": "request", "format": 1, "host": "h", "peer": "tcp", "request": ["zmsu"], "time": "2026-11-21T23:30:05.042Z"},
    {"type": "process", "category": "RK", "process": "a", "status": 1, "message": "m", "errno": 2, "errno_text": "e"},
    {"type": "package", "path": "/a"},
    {"type": "space", "directory": "/a", "free_mib": 1, "total_mib": 18446744073709551615},
    {"type": "cleanup", "result": "failed", "directory": "/a", "error_text": "e"},
    {"type": "output", "text": "t", "text_base64": "dA==", "newline": False},
    {"type": "status", "status": 0, "text": "t", "elapsed_ms": 0, "items": 1, "failed": 0, "not_answered": 1,
     "unanswered": ["FOO"]},
    {"type": "error", "code": "no_status", "message": "m"},
]


def wrong_versions(example):
    """Yields copies of the example with one mistake each."""
    yield {**example, "type": "other"}
    yield {**example, "another_field": 1}
    for name in example:
        if name not in ("text_base64", "newline", "process"):
            yield {key: value for key, value in example.items() if key != name}
        yield {**example, name: None}
        if isinstance(example[name], str):
            yield {**example, name: 1}
        else:
            yield {**example, name: "text"}


def check_schema(validator):
    for example in EXAMPLES:
        validator.validate(example)
        for wrong in wrong_versions(example):
            if validator.is_valid(wrong):
                sys.exit(f"the schema accepts {json.dumps(wrong)}")
    missing = set(validator.schema["$defs"]) - {"int32", "count", "base64", "texts", "bytes", "host"}
    missing -= {example["type"] for example in EXAMPLES}
    if missing:
        sys.exit(f"no example of {missing}")


def check_objects(validator, path):
    if not os.path.exists(path):
        return print("no objects")
    with open(path, encoding="ascii") as lines:
        objects = set(lines)  # most of them repeat
    for line in objects:
        error = jsonschema.exceptions.best_match(validator.iter_errors(json.loads(line)))
        if error is not None:
            sys.exit(f"not valid: {line}{error.message}")
    print(f"{len(objects)} objects are valid")


def main():
    with open(sys.argv[1], encoding="utf-8") as text:
        schema = json.load(text)
    jsonschema.Draft202012Validator.check_schema(schema)
    validator = jsonschema.Draft202012Validator(schema)
    if len(sys.argv) > 2:
        check_objects(validator, sys.argv[2])
    else:
        check_schema(validator)


main()

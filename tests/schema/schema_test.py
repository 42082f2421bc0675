#!/usr/bin/env python3
"""Validates records of captures with the schema that the program prints.

usage: schema_test.py PROGRAM CAPTURE...
"""

import copy
import json
import subprocess
import sys
import unittest

import jsonschema

PROGRAM, CAPTURES = sys.argv[1], sys.argv[2:]
STYLES = [[], ["--ids=string"], ["--values=plain"], ["--nul=base64"],
          ["--ids=string", "--values=plain", "--nul=base64"]]
# Members with a PHP value or a PHP array.
PHP_MEMBERS = {"args", "call_value", "headers", "properties", "value", "values"}

sys.setrecursionlimit(100_000)  # the validator recurses for each level of a value


def run(*arguments):
    return subprocess.run([PROGRAM, *arguments], check=True, capture_output=True, text=True).stdout


def records(*arguments):
    return [json.loads(line) for line in run("inspect", "--format=jsonl", *arguments).splitlines()]


def schema(style):
    return json.loads(run("schema", *style))


class Validator:
    """Validates records by the definition of each: to try all definitions takes many times as long."""

    def __init__(self, style):
        whole = schema(style)
        self.definitions = {}
        for entry in whole["oneOf"]:
            definition = jsonschema.Draft202012Validator({**entry, "$defs": whole["$defs"]})
            self.definitions[entry["$ref"].removeprefix("#/$defs/")] = definition

    def error(self, record, name=None):
        return next(self.definitions[name or record["record"]].iter_errors(record), None)


def trimmed(node):
    """A node with at most one element in each list, except in pairs of a key and a value."""
    if isinstance(node, list):
        return [trimmed(element) for element in (node if len(node) == 2 else node[:1])]
    if isinstance(node, dict):
        return {name: trimmed(value) for name, value in node.items()}
    return node


def samples(found):
    """One trimmed record of each name and kind: the shortest of those with the fewest absent values."""

    def rank(record):
        text = json.dumps(record)
        return text.count("null"), len(text)

    best = {}
    for record in map(trimmed, found):
        kind = record["record"], record.get("view"), record.get("kind")
        best[kind] = min(best.get(kind, record), record, key=rank)
    return best.values()


def changed(record, path, change):
    """A copy of a record whose node at the path is changed: change(container, key)."""
    record = copy.deepcopy(record)
    node = record
    for key in path[:-1]:
        node = node[key]
    change(node, path[-1])
    return record


def nodes(node, plain_values, path=(), is_plain=False):
    """All nodes below a node, each with its path and whether it is part of a plain PHP value."""
    if path:
        yield path, node, is_plain
    for key, value in node.items() if isinstance(node, dict) else enumerate(node) if isinstance(node, list) else ():
        yield from nodes(value, plain_values, (*path, key), is_plain or (plain_values and key in PHP_MEMBERS))


def of_another_type(value):
    if isinstance(value, bool):
        return 1
    if isinstance(value, (int, float)):
        return "x"
    if isinstance(value, str):
        return 5
    return {"$unknown": True}


def faults(record, plain_values):
    """Records that differ from a valid one by one member, each with a description."""

    def put(value):
        return lambda container, key: container.__setitem__(key, value)

    def rename(container, key):
        container[f"{key}_2"] = container.pop(key)

    for path, node, is_plain in nodes(record, plain_values):
        # Any JSON of another type is a plain PHP value, and any other member is part of a PHP array.
        is_open = is_plain and isinstance(node, dict) and not any(key.startswith("$") for key in node)
        yield f"no such object at {path}", changed(record, path, put({"$unknown": True}))
        if not is_plain:
            yield f"another type at {path}", changed(record, path, put(of_another_type(node)))
        if isinstance(node, dict) and not is_open:
            yield f"a further member at {path}", changed(record, path, put({**node, "further": 1}))
            for key in node:
                # Without its mark, a value is a PHP array.
                if not (is_plain and key.startswith("$")):
                    yield f"no {key} at {path}", changed(record, (*path, key), lambda container, key: container.pop(key))
                yield f"renamed {key} at {path}", changed(record, (*path, key), rename)
    yield "a further member", {**record, "further": 1}
    for key in record:
        if key != "file":
            yield f"no {key}", changed(record, (key,), lambda container, key: container.pop(key))
        yield f"renamed {key}", changed(record, (key,), rename)


class SchemaOfRecords(unittest.TestCase):
    def test_is_a_valid_schema(self):
        for style in STYLES:
            with self.subTest(style=style):
                jsonschema.Draft202012Validator.check_schema(schema(style))

    def test_lists_every_record_of_the_captures(self):
        names = {record["record"] for record in records("--all-records", *CAPTURES)}
        self.assertEqual({f"#/$defs/{name}" for name in names}, {entry["$ref"] for entry in schema([])["oneOf"]})

    def test_accepts_every_record(self):
        for style in (STYLES[0], STYLES[-1]):
            validator = Validator(style)
            # One file has no name in its records.
            for arguments in (["--all-records", CAPTURES[0]], CAPTURES):
                for record in records(*style, *arguments):
                    with self.subTest(style=style, record=record["record"], frame=record["frame"]):
                        self.assertIsNone(validator.error(record))

    def test_rejects_a_record_with_one_fault(self):
        for style in STYLES:
            plain_values = "--values=plain" in style
            validator = Validator(style)
            for record in samples(records(*style, *CAPTURES)):
                self.assertIsNone(validator.error(record))
                for description, faulty in faults(record, plain_values):
                    with self.subTest(style=style, record=record["record"], frame=record["frame"], fault=description):
                        self.assertIsNotNone(validator.error(faulty, record["record"]))

    def test_accepts_exactly_the_listed_records(self):
        whole = jsonschema.Draft202012Validator(schema([]))
        for record in samples(records("--all-records", *CAPTURES)):
            with self.subTest(record=record["record"], frame=record["frame"]):
                self.assertTrue(whole.is_valid(record))
                self.assertFalse(whole.is_valid({**record, "record": "php.Request"}))

    def test_depends_on_the_style(self):
        for style, other in (([], ["--ids=string"]), (["--ids=string"], []), ([], ["--values=plain"])):
            with self.subTest(style=style, other=other):
                validator = Validator(style)
                self.assertTrue(any(map(validator.error, samples(records(*other, *CAPTURES)))))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)

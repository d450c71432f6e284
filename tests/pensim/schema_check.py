#!/usr/bin/python3
"""Checks the scenarios' schema with a validator that is not ours.

The service has a small one of its own, for the keywords that the schema uses. Both must find the same
scenarios right, and the same ones wrong.

    schema_check.py FOLDER...    the folders of this tree's scenarios, the schema's first
"""
import json
import pathlib
import sys

import jsonschema

PEN = '{"pens": [{"id": 1, %s}]}'
WRONG = [
    "[]",
    '{"pans": []}',
    '{"pens": {}}',
    '{"pens": [{}]}',
    '{"pens": [{"id": -1}]}',
    '{"pens": [{"id": "0xg"}]}',
    '{"pens": [{"id": 1, "id2": 1}]}',
    PEN % '"port": 65536',
    PEN % '"software_version": 65536',
    PEN % '"docked": 1',
    PEN % '"mode": "x"',
    PEN % '"password": "12345678901234567890123456789012"',
    PEN % '"chaining_value": "00"',
    PEN % '"pages": [{"address": "1"}]',
    PEN % '"pages": [{"address": "1.2.3.4", "count": 0}]',
    PEN % '"properties": {"1": {"float": 1}}',
    PEN % '"properties": {"1": {}}',
    PEN % '"properties": {"x": {"null": true}}',
    PEN % '"faults": [{"instruction": "ABCD"}]',
    PEN % '"faults": [{"instruction": "R1GP", "status": 2147483648}]',
    PEN % '"faults": [{"instruction": "R1GP", "connection": true}]',
    PEN % '"faults": [{"connection": false}]',
    PEN % '"faults": [{"status": 1}]',
]

folders = [pathlib.Path(folder) for folder in sys.argv[1:]]
schema = json.loads((folders[0] / "scenario.schema.json").read_text())
jsonschema.Draft7Validator.check_schema(schema)
validator = jsonschema.Draft7Validator(schema)

failures = [
    f"{file}: {error.message}"
    for folder in folders
    for file in sorted(folder.glob("*.json"))
    if not file.name.endswith(".schema.json")
    for error in validator.iter_errors(json.loads(file.read_text()))
]
failures += [f"accepted: {text}" for text in WRONG if validator.is_valid(json.loads(text))]
print("\n".join(failures), end="\n" if failures else "")
sys.exit(1 if failures else 0)

#!/usr/bin/env python3
# Checks the examples of world files against their schema, and that the schema describes every member
# and refuses what no world may hold: CheckWorlds.py SCHEMA EXAMPLE...
import json
import pathlib
import sys

import jsonschema

WRONG = (
    [],
    {"cameras": []},
    {"interfaces": [{"name": ""}]},
    {"interfaces": [{"cameras": [{"framerate": 30}]}]},
    {"interfaces": [{"cameras": [{"pixelFormat": "Mono12"}]}]},
    {"interfaces": [{"cameras": [{"count": 2, "name": "Twice"}]}]},
    {"interfaces": [{"cameras": [{"count": 2, "serialNumber": "A1"}]}]},
    {"interfaces": [{"cameras": [{"discovery": []}]}]},
    {"interfaces": [{"cameras": [{"imageFaults": [{"delayMs": 5}]}]}]},
    {"faults": [{"kind": "result"}]},
    {"faults": [{"operation": "GetSystem", "result": 0.5}]},
    {"faults": [{"operation": "GetSystem", "probability": 2}]},
)


def members_without_description(schema, place="#"):
    for name, member in schema.get("properties", {}).items():
        if not member.get("description"):
            yield f"{place}/{name}"
    for name, definition in schema.get("definitions", {}).items():
        yield from members_without_description(definition, f"{place}/{name}")


def main(schema_path, *examples):
    schema = json.loads(pathlib.Path(schema_path).read_text())
    jsonschema.Draft7Validator.check_schema(schema)
    validator = jsonschema.Draft7Validator(schema)
    problems = [f"{place}: no description" for place in members_without_description(schema)]
    for example in examples:
        for error in validator.iter_errors(json.loads(pathlib.Path(example).read_text())):
            problems.append(f"{example}: {error.json_path}: {error.message}")
    problems += [f"accepted: {json.dumps(wrong)}" for wrong in WRONG if validator.is_valid(wrong)]
    print(*problems, f"{len(examples)} examples, {len(problems)} problems", sep="\n")
    return 1 if problems or not examples else 0


sys.exit(main(*sys.argv[1:]))

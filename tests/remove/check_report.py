# SPDX-License-Identifier: MIT
"""Validates a report against its schema, and evaluates expressions about it.

    check_report.py SCHEMA REPORT [EXPRESSION]...

Each EXPRESSION is one of Python over `report`, `items` (its items by their paths) and `outcomes` (how many items have each
outcome), and must be true. Prints what is wrong and answers 1, or prints nothing and answers 0.
"""

import collections
import json
import sys

TYPES = {"object": dict, "array": list, "string": str, "boolean": bool, "integer": int, "null": type(None)}


def is_of(value, name):
    return isinstance(value, TYPES[name]) and not (name == "integer" and isinstance(value, bool))


def faults(value, schema, place):
    """The places where a value violates the schema. Only the keywords that the project's schema uses are known."""
    names = schema.get("type", [])
    names = [names] if isinstance(names, str) else names
    if names and not any(is_of(value, name) for name in names):
        yield f"{place}: {value!r} is no {' or '.join(names)}"
    if "enum" in schema and not any(value == each and type(value) is type(each) for each in schema["enum"]):
        yield f"{place}: {value!r} is none of {schema['enum']}"
    if isinstance(value, dict):
        for name in set(schema["required"]) - value.keys():
            yield f"{place}: {name} is missing"
        for name, part in value.items():
            if name not in schema["properties"]:
                yield f"{place}: {name} is not described"
            else:
                yield from faults(part, schema["properties"][name], f"{place}.{name}")
    if isinstance(value, list):
        for number, part in enumerate(value):
            yield from faults(part, schema["items"], f"{place}[{number}]")


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        schema = json.load(file)
    with open(sys.argv[2], encoding="utf-8") as file:
        report = json.load(file)
    problems = list(faults(report, schema, "report"))
    known = {
        "report": report,
        "items": {item["path"]: item for item in report["items"]},
        "outcomes": collections.Counter(item["outcome"] for item in report["items"]),
    }
    for expression in sys.argv[3:]:
        if not eval(expression, {}, known):  # the tests' own expressions
            problems.append(f"not so: {expression}")
    for problem in problems:
        print(problem)
    if problems:
        print(json.dumps(report, indent=1))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())

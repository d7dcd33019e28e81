# SPDX-License-Identifier: MIT
"""Small changes to a C++ source that a test should notice.

A source is read line by line, as clang-format lays it out. That is enough: a change that does not compile is dropped.
"""

import re
from typing import NamedTuple


class Mutant(NamedTuple):
    """One changed line of one file."""

    path: str
    line: int  # from 1
    operator: str
    old: str  # the line without the blanks around it
    new: str

    def __str__(self):
        return f"{self.path}:{self.line} ({self.operator}): {self.old}  ->  {self.new}"


LITERAL = re.compile(r'"(?:\\.|[^"\\])*"|\'(?:\\.|[^\'\\])+\'')
FLAG = r"(?:[A-Z][A-Z0-9_]{2,}|k[A-Z]\w*)\b(?!\()"
FLAGS = re.compile(rf"{FLAG}(?: \| {FLAG})+")
SWAPPED = {
    "relation": {" == ": " != ", " != ": " == ", " < ": " <= ", " <= ": " < ", " > ": " >= ", " >= ": " > ",
                 " && ": " || ", " || ": " && "},
    "arithmetic": {" + ": " - ", " - ": " + ", " * ": " / ", " / ": " * ", " % ": " * ", " += ": " -= ",
                   " -= ": " += ", "++": "--", "--": "++"},
    "constant": {"true": "false", "false": "true"},
}
SIMPLE = r"[\w.:]+(?:->\w+)?(?:\(\))?"
ARGUMENTS = re.compile(rf"(?<=[\w>])\(({SIMPLE}), ({SIMPLE})(?=[,)])")
SYMMETRIC = re.compile(r"\b(?:min|max|swap)(?:<[^<>]*>)?$")
CALL = re.compile(r"^(?!return\b|throw\b|delete\b|if\b|for\b|while\b|switch\b|case\b|else\b|using\b|static_assert\b)"
                  r"[\w:.>*\-\[\]()]+\(.*\);$")
ASSIGNMENT = re.compile(r"^\*?[\w.>\-\[\]]+ (?:[+\-|&]?=) [^{]*;$")
NOTHING = {"{}", "std::nullopt", "nullptr", "false", "0", "Result()", '""'}


def blanked(line):
    """The line with its texts and its comment replaced by as many other characters."""
    line = LITERAL.sub(lambda found: '"' + "~" * (len(found[0]) - 2) + '"', line)
    comment = line.find("//")
    return line if comment < 0 else line[:comment] + "~" * (len(line) - comment)


def closing(text, opening):
    """Where the parenthesis at `opening` is closed; -1 if it is not."""
    depth = 0
    for place in range(opening, len(text)):
        depth += (text[place] == "(") - (text[place] == ")")
        if depth == 0:
            return place
    return -1


def swapped(operator, line, code):
    for old, new in SWAPPED[operator].items():
        pattern = rf"\b{old}\b" if old.isalpha() else re.escape(old)
        for found in re.finditer(pattern, code):
            besides = code[found.start() - 1:found.start()] + code[found.end():found.end() + 1]
            if operator == "arithmetic" and '"' in besides:
                continue  # texts are only added
            yield line[: found.start()] + new + line[found.end():]


def relation(line, code):
    yield from swapped("relation", line, code)


def arithmetic(line, code):
    yield from swapped("arithmetic", line, code)


def constant(line, code):
    yield from swapped("constant", line, code)
    for found in re.finditer(r"(?<![\w.'])\d+(?![\w.'])", code):
        yield line[: found.start()] + ("1" if found[0] == "0" else str(int(found[0]) - 1)) + line[found.end():]


def guard(line, code):
    """The condition never holds; what it declares or does is still done."""
    found = re.match(r"(?:\} else )?if (?:constexpr )?\(", code)
    end = closing(code, found.end() - 1) if found else -1
    if end < 0 or "constexpr" in found[0]:
        return
    inner = line[found.end():end]
    setup, semicolon, condition = inner.rpartition("; ")
    declares = re.match(r"(?:const )?[\w:<>]+[ *&]+\w+ = ", inner)
    if semicolon and "{" not in inner:
        inner = f"{setup}; ({condition}) && false"
    else:
        inner = f"{inner}; false" if declares else f"({inner}) && false"
    yield line[: found.end()] + inner + line[end:]


def flag(line, code):
    for found in FLAGS.finditer(code):
        names = line[found.start():found.end()].split(" | ")
        for dropped in range(len(names)):
            if names[dropped] == "O_RDONLY":
                continue  # it is 0
            left = names[:dropped] + names[dropped + 1:]
            yield line[: found.start()] + " | ".join(left) + line[found.end():]


def statement(line, code):
    if (CALL.match(code) and " " not in code[: code.index("(")]) or ASSIGNMENT.match(code):
        if code.count("(") == code.count(")"):
            yield ";"


def returned(line, code):
    found = re.search(r"\breturn ([^;]+);$", code)
    if not found:
        return
    value = line[found.start(1):found.end(1)]
    if value in NOTHING:
        yield line[: found.start(1)] + f"!({value});"
    else:
        yield line[: found.start(1)] + "{};"


def argument(line, code):
    for found in ARGUMENTS.finditer(code):
        first, second = (line[found.start(group):found.end(group)] for group in (1, 2))
        if first != second and not SYMMETRIC.search(code[: found.start()]):
            yield line[: found.start(1)] + f"{second}, {first}" + line[found.end(2):]


OPERATORS = (relation, arithmetic, constant, guard, flag, statement, returned, argument)
# Lines that do nothing, or whose names and numbers the compiler checks.
SKIPPED = re.compile(r"(#|//|using |namespace |class |struct |enum |template|public:|private:|protected:|case |\}?;?$)")


def mutants(path, text):
    """Every mutant of a source, by operator."""
    found = {}
    for number, full in enumerate(text.splitlines(), 1):
        line = full.strip()
        if SKIPPED.match(line):
            continue
        for operator in OPERATORS:
            for new in operator(line, blanked(line)):
                mutant = Mutant(path, number, operator.__name__, line, new)
                found.setdefault(mutant.operator, []).append(mutant)
    return found


def apply(mutant, text):
    lines = text.splitlines(keepends=True)
    old = lines[mutant.line - 1]
    assert old.strip() == mutant.old, f"{mutant.path} has changed"
    lines[mutant.line - 1] = old.replace(mutant.old, mutant.new)
    return "".join(lines)

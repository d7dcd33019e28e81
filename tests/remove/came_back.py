# SPDX-License-Identifier: MIT
"""Compares a throw-away machine's disk with its state before items were moved to the Trash and put back.

    came_back.py BEFORE AFTER ITEM...

BEFORE and AFTER are snapshots. Everything that was there must be there again with contents, owner, mode, time and
attributes. Only folders that held one of the ITEMs (patterns, as of a shell) may have another time: something left them
and came again. New are at most the folders of Trashes, with nothing in them, the links to them, and what is remembered.
Prints what is wrong and answers 1, or prints nothing and answers 0.
"""

import fnmatch
import json
import os
import re
import sys

NEW = re.compile(
    r"(/home/\w+|/root)/(\.Trash|\.local(/share(/Trash(/files|/info)?)?|/state)?)$|/\.Trash-\d+(/files|/info)?$"
    r"|/var/lib(/tessaly-remove(/last-run(\.new)?)?)?$|/run/tessaly-remove\.lock$|/run/user/\d+/tessaly-remove\.lock$"
)
PLACES = ("/", "/home/*", "/root", "/tmp", "/var/lib", "/home/*/.local", "/home/*/.local/*", "/home/*/.local/share/*", "/run*")


def problems(before, after, items):
    touched = [os.path.dirname(item) for item in items] + list(PLACES)
    for path in sorted(before.keys() | after.keys()):
        was, now = before.get(path), after.get(path)
        if was == now or was is None and NEW.match(path):
            continue
        is_touched = any(fnmatch.fnmatchcase(path, each) for each in touched)
        if is_touched and was and now and {**was, "time": 0} == {**now, "time": 0}:
            continue
        yield f"{path}: was {was}, is {now}"


def load(name):
    with open(name, encoding="utf-8") as file:
        return json.load(file)


if __name__ == "__main__":
    found = list(problems(load(sys.argv[1]), load(sys.argv[2]), sys.argv[3:]))
    for problem in found:
        print(problem)
    sys.exit(1 if found else 0)

# SPDX-License-Identifier: MIT
"""Compares a throw-away machine's disk with the state that the run must leave.

    verify.py BEFORE AFTER --user NUMBER --home FOLDER [--moved PATH[=TRASH]]... [--removed PATH]... [--remembered FOLDER]

BEFORE and AFTER are snapshots. Every item "moved" must be in the home trash (or in the TRASH given), unchanged and with
a .trashinfo that leads back. Everything "removed" must be gone. The FOLDER must hold the record of the run, accessible
to its owner alone. Nothing else on the disk may differ. Prints the differences and exits with 1, or prints nothing and
exits with 0.
"""

import argparse
import datetime
import json
import os
import re
import stat
import sys
import urllib.parse

# Files that a toolkit may leave.
TOOLKIT = re.compile(r"/(home/\w+|root)/\.cache(/fontconfig.*)?$|/tmp/runtime-\w+$")
PRIVATE_DIRECTORY, PRIVATE_FILE, LINK = "0o40700", "0o100600", "0o120777"
INFO = re.compile(r"\[Trash Info\]\nPath=([^\n]+)\nDeletionDate=(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d)\n\Z")


def parent(path):
    return os.path.dirname(path) or "/"


def subtree(snapshot, path):
    """What a snapshot holds at and below a path, by the path relative to it."""
    return {key[len(path):]: value for key, value in snapshot.items() if key == path or key.startswith(path + "/")}


class Verifier:
    def __init__(self, before, after, user, home):
        self.before, self.after = before, after
        self.user, self.home = user, home
        self.explained_new = set()
        self.explained_gone = set()
        self.touched_folders = {"/tmp"}  # the display's server has its own files there
        self.infos = {}
        self.problems = []

    def expect(self, holds, problem):
        if not holds:
            self.problems.append(problem)

    # ---- the Trash

    def read_trash(self, trash):
        """The new .trashinfo files of a Trash, by the place that they lead back to."""
        if trash in self.infos:
            return self.infos[trash]
        self.infos[trash] = {}
        for path in sorted(self.after):
            if parent(path) == trash + "/info" and path not in self.before:
                self.read_info(trash, path)
        self.check_trash_folders(trash)
        return self.infos[trash]

    def owner_of(self, trash):
        """The user's number: from the name of a volume's Trash; for a home trash, the scenario's user."""
        number = re.search(r"/\.Trash-(\d+)$", trash)
        return int(number.group(1)) if number else self.user

    def read_info(self, trash, path):
        with open(path, encoding="ascii") as file:
            match = INFO.match(file.read())
        self.expect(match is not None, f"{path} is not a trash info file")
        if match is None:
            return
        written = match.group(1)
        self.expect(urllib.parse.quote(urllib.parse.unquote_to_bytes(written)) == written, f"{path}: escaping of {written}")
        original = os.fsdecode(urllib.parse.unquote_to_bytes(written))
        top = parent(trash)
        if not original.startswith("/"):
            original = os.path.join(top, original)
        age = datetime.datetime.now() - datetime.datetime.fromisoformat(match.group(2))
        self.expect(datetime.timedelta(0) <= age < datetime.timedelta(minutes=2), f"{path}: date {match.group(2)}")
        self.expect(original not in self.infos[trash], f"two trash info files lead to {original}")
        self.infos[trash][original] = path

    def check_trash_folders(self, trash):
        """Folders that the run created are private and belong to the user."""
        folder = trash
        made = {trash, trash + "/files", trash + "/info"}
        while parent(folder) not in self.before:
            folder = parent(folder)
            made.add(folder)
        for folder in sorted(made):
            if folder in self.before:
                continue
            self.explained_new.add(folder)
            self.touched_folders.add(parent(folder))
            shown = self.after.get(folder)
            self.expect(shown is not None, f"{folder} is missing")
            if shown is not None:
                self.expect(shown["owner"] == shown["group"] == self.owner_of(trash), f"{folder} belongs to {shown['owner']}")
                self.expect(shown["mode"] == PRIVATE_DIRECTORY, f"{folder} has the mode {shown['mode']}")
        # Root's record of a move is beside the two folders during the move.
        self.touched_folders |= {trash, trash + "/files", trash + "/info"}
        if self.owner_of(trash) == 0:
            self.expect_home_trash_of_root()
        self.check_shortcut()

    def expect_home_trash_of_root(self):
        """Root also has a home trash, which is empty."""
        folders = [f"/root/.local{rest}" for rest in ("", "/share", "/share/Trash", "/share/Trash/files", "/share/Trash/info")]
        for folder in folders:
            shown = self.after.get(folder)
            self.expect(shown is not None and shown["mode"] == PRIVATE_DIRECTORY, f"{folder}: {shown}")
        self.explained_new |= {*folders, "/root/.Trash"}
        self.touched_folders.add("/root")

    def check_shortcut(self):
        """If ~/.Trash was missing, it is now a link to the home trash."""
        link = self.home + "/.Trash"
        shown = self.after.get(link)
        if link in self.before or shown is None:
            return
        self.explained_new.add(link)
        self.touched_folders.add(self.home)
        self.expect(shown["mode"] == LINK, f"{link} is no link")
        target = os.path.join(self.home, shown["contents"])
        self.expect(target == self.home + "/.local/share/Trash/files", f"{link} leads to {target}")
        self.expect(shown["owner"] == self.user, f"{link} belongs to {shown['owner']}")

    # ---- the expectations

    def moved(self, path, trash):
        self.expect(path in self.before, f"{path} was never there")
        self.gone(path)
        info = self.read_trash(trash).pop(path, None)
        if info is None:
            self.problems.append(f"no trash info file in {trash} leads back to {path}")
            return
        shown = self.after[info]
        self.expect(shown["mode"] == PRIVATE_FILE and shown["owner"] == self.owner_of(trash), f"{info}: {shown}")
        name = os.path.basename(info)[: -len(".trashinfo")]
        kept = f"{trash}/files/{name}"
        self.expect(name.startswith(os.path.basename(path).split(".")[0]), f"{path} is called {name} in the Trash")
        self.expect(kept not in self.before, f"{kept} was there before")
        was, now = subtree(self.before, path), subtree(self.after, kept)
        for key in sorted(was.keys() | now.keys()):
            is_handed_over = self.owner_of(trash) != 0 and now.get(key) == self.handed_over(was.get(key))
            same = is_handed_over or now.get(key) == was.get(key)
            self.expect(same, f"{path}{key}: was {was.get(key)}, in the Trash {now.get(key)}")
        self.explained_new |= {info} | {kept + key for key in now}

    def handed_over(self, item):
        """An item that root has moved has no set-user-id or set-group-id bit. Its folders belong to the user but keep
        their group."""
        if item is None or item["owner"] == self.user:
            return item
        mode = int(item["mode"], 8)
        if stat.S_ISDIR(mode):
            return {**item, "mode": oct(mode & ~0o6000 | 0o700), "owner": self.user}
        return {**item, "mode": oct(mode & ~0o6000) if stat.S_ISREG(mode) else item["mode"]}

    def gone(self, path):
        self.expect(not os.path.lexists(path), f"{path} is still there")
        self.explained_gone |= {path + key for key in subtree(self.before, path)}
        self.touched_folders.add(parent(path))

    def remembered(self, folder):
        """The record of a run, and the folders that were created for it, are accessible to their owner alone."""
        for path in (folder, folder + "/last-run"):
            shown = self.after.get(path)
            private = PRIVATE_DIRECTORY if path == folder else PRIVATE_FILE
            self.expect(shown is not None and shown["mode"] == private, f"{path}: {shown}")
            self.explained_new.add(path)
        while parent(folder) not in self.before:
            folder = parent(folder)
            self.explained_new.add(folder)
        self.touched_folders.add(parent(folder))

    def nothing_else(self):
        for trash, left in self.infos.items():
            self.expect(not left, f"not expected in {trash}: {sorted(left)}")
        for path in sorted(self.before.keys() | self.after.keys()):
            self.check_unchanged(path)

    def check_unchanged(self, path):
        was, now = self.before.get(path), self.after.get(path)
        if was == now or path in self.explained_gone and now is None or path in self.explained_new and was is None:
            return
        if TOOLKIT.match(path) or (TOOLKIT.match(path + "/.cache") and self.only_time_differs(was, now)):
            return
        if path in self.touched_folders and self.only_time_differs(was, now):
            return
        self.problems.append(f"{path}: was {was}, is {now}")

    @staticmethod
    def only_time_differs(was, now):
        return was is not None and now is not None and {**was, "time": 0} == {**now, "time": 0}


def load(name):
    with open(name, encoding="utf-8") as file:
        return json.load(file)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("before")
    parser.add_argument("after")
    parser.add_argument("--user", type=int, required=True)
    parser.add_argument("--home", required=True)
    parser.add_argument("--moved", action="append", default=[])
    parser.add_argument("--removed", action="append", default=[])
    parser.add_argument("--remembered", action="append", default=[])
    options = parser.parse_args()
    verifier = Verifier(load(options.before), load(options.after), options.user, options.home)
    for moved in options.moved:
        path, _, trash = moved.partition("=")
        verifier.moved(path, trash or options.home + "/.local/share/Trash")
    for path in options.removed:
        verifier.gone(path)
    for path in options.remembered:
        verifier.remembered(path)
    verifier.nothing_else()
    for problem in verifier.problems:
        print(problem)
    return 1 if verifier.problems else 0


if __name__ == "__main__":
    sys.exit(main())

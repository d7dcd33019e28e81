# SPDX-License-Identifier: MIT
"""Tests that `verify.py` finds every difference. Each case changes one thing in the result of a correct run."""

import copy
import datetime
import os
import shutil
import tempfile
import unittest

import verify

HOME = "/home/sam"


def described(mode="0o100644", contents="x", owner=1001):
    return {"mode": mode, "owner": owner, "group": owner, "time": 1, "contents": contents, "attributes": {}}


class Comparison(unittest.TestCase):
    def setUp(self):
        # The info file is read from the disk; everything else is in the snapshots.
        self.trash = tempfile.mkdtemp() + "/Trash"
        self.addCleanup(shutil.rmtree, os.path.dirname(self.trash))
        os.makedirs(self.trash + "/info")
        self.item = self.trash + "-source/Tessaly é.app"
        self.info = self.trash + "/info/Tessaly é.app.trashinfo"
        self.write_info()
        folder = described("0o40755", "")
        self.before = {"/": folder, os.path.dirname(self.trash): folder, HOME: folder, os.path.dirname(self.item): folder,
                       self.item: folder, self.item + "/file": described(), "/other": described()}
        private = described(verify.PRIVATE_DIRECTORY, "")
        kept = self.trash + "/files/Tessaly é.app"
        self.kept_file = kept + "/file"
        self.after = {key: value for key, value in self.before.items() if not key.startswith(self.item)}
        self.after.update({self.trash: private, self.trash + "/files": private, self.trash + "/info": private, kept: folder,
                           self.kept_file: described(), self.info: described(verify.PRIVATE_FILE)})
        self.after = copy.deepcopy(self.after)

    def write_info(self, path=None, escape=verify.urllib.parse.quote, age=0):
        date = datetime.datetime.now() - datetime.timedelta(seconds=age)
        with open(self.info, "w", encoding="utf-8") as file:
            file.write(f"[Trash Info]\nPath={escape(path or self.item)}\nDeletionDate={date:%Y-%m-%dT%H:%M:%S}\n")

    def problems(self):
        verifier = verify.Verifier(self.before, self.after, 1001, HOME)
        verifier.moved(self.item, self.trash)
        verifier.nothing_else()
        return verifier.problems

    def test_a_right_run_has_none(self):
        self.assertEqual(self.problems(), [])

    def test_changed_contents(self):
        self.after[self.kept_file]["contents"] = "y"
        self.assertNotEqual(self.problems(), [])

    def test_every_other_description(self):
        for what, value in {"mode": "0o100600", "owner": 0, "group": 0, "time": 2, "attributes": {"user.a": "00"}}.items():
            with self.subTest(what):
                was = self.after[self.kept_file][what]
                self.after[self.kept_file][what] = value
                self.assertNotEqual(self.problems(), [])
                self.after[self.kept_file][what] = was

    def test_a_file_that_is_missing_in_the_trash(self):
        del self.after[self.kept_file]
        self.assertNotEqual(self.problems(), [])

    def test_a_file_more_in_the_trash(self):
        self.after[self.kept_file + "2"] = described()
        self.assertNotEqual(self.problems(), [])

    def test_another_item_in_the_trash(self):
        self.after[self.trash + "/files/other"] = described()
        self.assertNotEqual(self.problems(), [])

    def test_an_info_file_that_leads_elsewhere(self):
        self.write_info("/elsewhere/Tessaly.app")
        self.assertNotEqual(self.problems(), [])

    def test_an_info_file_that_is_not_escaped(self):
        with self.assertRaises(UnicodeDecodeError):
            self.write_info(escape=str)
            self.problems()

    def test_an_info_file_with_another_time(self):
        self.write_info(age=7200)
        self.assertNotEqual(self.problems(), [])

    def test_trash_folders_that_others_may_read(self):
        self.after[self.trash + "/info"]["mode"] = "0o40755"
        self.assertNotEqual(self.problems(), [])

    def test_trash_folders_of_another_user(self):
        self.after[self.trash + "/files"]["owner"] = 0
        self.assertNotEqual(self.problems(), [])

    def test_a_new_file_anywhere(self):
        self.after["/new"] = described()
        self.assertNotEqual(self.problems(), [])

    def test_a_file_that_is_gone(self):
        del self.after["/other"]
        self.assertNotEqual(self.problems(), [])

    def test_a_file_that_was_touched(self):
        self.after["/other"]["time"] = 2
        self.assertNotEqual(self.problems(), [])

    def test_an_item_that_is_still_there(self):
        os.makedirs(self.item)
        self.addCleanup(shutil.rmtree, os.path.dirname(self.item))
        self.assertNotEqual(self.problems(), [])


if __name__ == "__main__":
    unittest.main()

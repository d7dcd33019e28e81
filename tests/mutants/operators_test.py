#!/usr/bin/env -S python3 -B
# SPDX-License-Identifier: MIT
"""What the operators make of single lines."""

import unittest

import operators


def changes(line):
    found = operators.mutants("a.cpp", "  " + line + "\n")
    return {name: [mutant.new for mutant in mutants] for name, mutants in found.items()}


class Operators(unittest.TestCase):
    def test_turn_relations_around(self):
        self.assertEqual(changes("if (a < b && c == d) {")["relation"],
                         ["if (a < b && c != d) {", "if (a <= b && c == d) {", "if (a < b || c == d) {"])

    def test_leave_texts_and_comments_alone(self):
        self.assertEqual(set(changes('print("1 + 2 == 3", a);  // 4 < 5')), set())

    def test_change_numbers_that_are_not_part_of_a_name(self):
        self.assertEqual(changes("constexpr int kSha256 = 0;")["constant"], ["constexpr int kSha256 = 1;"])
        self.assertEqual(changes("wait(30);")["constant"], ["wait(29);"])

    def test_let_guards_never_hold(self):
        self.assertEqual(changes("if (!found) return 0;")["guard"], ["if ((!found) && false) return 0;"])
        self.assertEqual(changes("if (const int error = f(a)) return error;")["guard"],
                         ["if (const int error = f(a); false) return error;"])
        self.assertEqual(changes("if (auto x = f(); x > 1) {")["guard"], ["if (auto x = f(); (x > 1) && false) {"])

    def test_drop_one_flag_at_a_time(self):
        self.assertEqual(changes("open(path, O_PATH | O_CLOEXEC);")["flag"],
                         ["open(path, O_CLOEXEC);", "open(path, O_PATH);"])

    def test_drop_statements_but_no_declarations(self):
        self.assertEqual(changes("finishWriting();")["statement"], [";"])
        self.assertEqual(changes("count_ += 1;")["statement"], [";"])
        self.assertNotIn("statement", changes("const UniqueFd file(open());"))
        self.assertNotIn("statement", changes("int count = 1;"))

    def test_replace_what_is_returned(self):
        self.assertEqual(changes("return path;")["returned"], ["return {};"])
        self.assertEqual(changes("return false;")["returned"], ["return !(false);"])

    def test_swap_arguments(self):
        self.assertEqual(changes("move(from, to);")["argument"], ["move(to, from);"])
        self.assertNotIn("argument", changes("int move(int from, int to) {"))
        self.assertNotIn("argument", changes("return std::min(size, limit);"))
        self.assertNotIn("argument", changes("return std::min<std::size_t>(size, limit);"))
        self.assertNotIn("argument", changes("std::swap(one, other);"))

    def test_change_only_their_line(self):
        text = "a();\n  b();\n"
        mutant = operators.mutants("a.cpp", text)["statement"][1]
        self.assertEqual(operators.apply(mutant, text), "a();\n  ;\n")


unittest.main()

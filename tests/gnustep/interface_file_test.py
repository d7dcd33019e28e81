# SPDX-License-Identifier: MIT
"""Checks the interface file of the Mac's front end, and the colours in its code. These checks need no window, so they also
cover what GNUstep does not have: screen readers and contrast themes."""

import importlib.machinery
import importlib.util
import pathlib
import re
import unittest
import xml.etree.ElementTree as xml

ROOT = pathlib.Path(__file__).resolve().parents[2]
APPKIT = ROOT / "Uninstaller/appkit"
FILE = xml.parse(APPKIT / "MainInterface.xib")
CODE = "".join(path.read_text(encoding="utf-8") for path in sorted(APPKIT.glob("**/*.mm")))
# Colours that follow the appearance and the contrast that the user has chosen.
SYSTEM_COLOURS = {"textColor", "controlTextColor", "labelColor", "textBackgroundColor", "controlBackgroundColor"}


def catalogues():
    """The keys of each language's catalogue."""
    loader = importlib.machinery.SourceFileLoader("languages", str(ROOT / "scripts/languages"))
    languages = importlib.util.module_from_spec(importlib.util.spec_from_loader("languages", loader))
    loader.exec_module(languages)
    return {each: {english for english, _ in languages.catalogue(each)} for each in languages.LANGUAGES}


def owner():
    return FILE.find(".//customObject[@customClass='AppController']")


class InterfaceFile(unittest.TestCase):
    def test_connects_the_five_outlets_in_their_order(self):
        outlets = [outlet.get("property") for outlet in owner().findall("connections/outlet")]
        self.assertEqual(outlets, ["windowMain", "removeSharedCheck", "removeConfigCheck", "windowProgress", "progressBar"])

    def test_sends_its_owner_the_two_actions(self):
        actions = [action.get("selector") for action in FILE.iter("action") if action.get("target") == owner().get("id")]
        self.assertEqual(sorted(actions), ["cancel:", "uninstall:"])

    def test_names_only_what_the_code_has(self):
        own = {each.get("customClass") for each in FILE.iter("customObject")} - {"FirstResponder", "NSObject"}
        for name in own:
            self.assertIn(f"@interface {name} :", CODE)
        ids = {each.get("id") for each in FILE.iter("customObject") if each.get("customClass") in own - {"QMApplication"}}
        for action in FILE.iter("action"):
            if action.get("target") in ids:
                self.assertIn(f"- (IBAction){action.get('selector')}(id)", CODE)
        for custom in FILE.iter("customObject"):
            for outlet in custom.findall("connections/outlet"):
                if custom.get("customClass") in own - {"QMApplication"}:
                    self.assertRegex(CODE, rf"IBOutlet \w+\* {outlet.get('property')};")

    def test_sends_the_system_only_actions_that_it_has(self):
        # tests/macos/declarations compares these declarations with the system's.
        declared = (ROOT / "Platform/macos/declarations/AppKit/AppKit.h").read_text(encoding="utf-8")
        own = {each.get("id") for each in FILE.iter("customObject") if each.get("customClass") in ("AppController", "QMPlanController")}
        sent = [action.get("selector") for action in FILE.iter("action") if action.get("target") not in own]
        self.assertIn("terminate:", sent)
        for selector in sent:
            self.assertIn(f"- (void){selector}(id)sender;", declared)

    def test_leads_every_connection_to_something(self):
        ids = {each.get("id") for each in FILE.iter() if each.get("id")}
        for connection in [*FILE.iter("outlet"), *FILE.iter("action")]:
            self.assertIn(connection.get("destination") or connection.get("target"), ids)

    def test_has_no_id_twice(self):
        ids = [each.get("id") for each in FILE.iter() if each.get("id")]
        self.assertEqual(len(ids), len(set(ids)))

    def test_has_labels_that_cannot_be_edited(self):
        for label in FILE.iter("textField"):
            cell = label.find("textFieldCell")
            self.assertEqual((cell.get("editable"), cell.get("selectable")), ("NO", "NO"), label.get("id"))

    def test_takes_every_colour_from_the_system(self):
        for colour in FILE.iter("color"):
            self.assertEqual((colour.get("catalog"), colour.get("colorSpace")), ("System", "catalog"))

    def test_takes_the_colours_of_the_code_from_the_system(self):
        used = set(re.findall(r"\[NSColor (\w+)", CODE))
        self.assertTrue(used)
        self.assertLessEqual(used, SYSTEM_COLOURS)
        self.assertNotRegex(CODE, r"CGColor|NSDeviceRGB|NSCalibrated")

    def test_has_a_translated_name_and_help_of_each_control_for_screen_readers(self):
        keys = catalogues()
        self.assertEqual(sorted(keys), ["de", "es", "fr", "ja"])
        for control in [*FILE.iter("button"), *FILE.iter("progressIndicator"), *FILE.iter("tableView")]:
            cell = control.find("buttonCell")
            if cell is not None and cell.get("refusesFirstResponder") == "YES":
                continue  # a control's caption, which only the mouse uses
            described = control.find("accessibility")
            self.assertIsNotNone(described, control.get("id"))
            for text in (described.get("description"), described.get("help")):
                self.assertTrue(text, control.get("id"))
                for language, translated in keys.items():
                    self.assertIn(text, translated, language)

    def test_lets_the_keyboard_walk_round(self):
        following = {view.get("id"): outlet.get("destination") for view in FILE.iter()
                     for outlet in view.findall("connections/outlet[@property='nextKeyView']")}
        start = FILE.find(".//outlet[@property='initialFirstResponder']").get("destination")
        walked, at = [], start
        while at not in walked:
            walked.append(at)
            at = following[at]
        self.assertEqual(at, start)
        self.assertEqual(set(walked), set(following))

    def test_has_return_uninstall_and_escape_cancel(self):
        keys = {}
        for button in FILE.iter("button"):
            key = button.find("buttonCell/string[@key='keyEquivalent']")
            if key is not None:
                keys[key.text.strip()] = button.find("connections/action").get("selector")
        self.assertEqual(keys, {"DQ": "uninstall:", "Gw": "cancel:"})

    def test_can_be_quit_and_hidden(self):
        keys = {item.get("keyEquivalent"): item.find("connections/action").get("selector")
                for item in FILE.iter("menuItem") if item.find("modifierMask") is None and item.find("connections") is not None}
        self.assertEqual(keys["q"], "terminate:")
        self.assertEqual(keys["h"], "hide:")

    def test_shows_no_window_by_itself(self):
        for window in FILE.iter("window"):
            self.assertEqual(window.get("visibleAtLaunch"), "NO")
            self.assertEqual(window.get("releasedWhenClosed"), "NO")

    def test_gives_every_font_a_size(self):
        for font in FILE.iter("font"):
            self.assertTrue(re.fullmatch(r"\d+", font.get("size", "")), font.attrib)


if __name__ == "__main__":
    unittest.main()

// SPDX-License-Identifier: MIT

// The text of a menu entry, checked by the rules of freedesktop.org and by the tool for it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Platform/linux/desktop/DesktopEntry.h"
#include "Uninstaller/Product.h"
#include "tests/contract/desktop/DesktopMachine.h"

namespace qm::testing {
namespace {

using linux_::DesktopEntry;
using linux_::desktopEntryName;
using linux_::desktopEntryText;
using ::testing::HasSubstr;
using ::testing::Not;

DesktopEntry plainEntry() {
  return {"Tessaly", "/Applications/Tessaly.app/Contents/MacOS/Tessaly", std::nullopt, {}, "/Applications/Tessaly.app"};
}

constexpr linux_::EntryMark kMark{kProduct.bundleEntryKey, kProduct.bundleEntryPrefix};

std::string textOf(const DesktopEntry& entry) { return desktopEntryText(entry, kMark).value_or("(none)"); }

/// The tool finds nothing wrong with the text.
void expectValid(const DesktopEntry& entry) {
  asPerson([&](const std::string& home) {
    const std::string file = home + "/entry.desktop";
    writeText(file, textOf(entry));
    const Ran ran = run({"/usr/bin/desktop-file-validate", "--no-hints", file});
    EXPECT_TRUE(ran.succeeded) << textOf(entry);
    EXPECT_EQ(ran.output, "") << textOf(entry);
  });
}

TEST(DesktopEntryText, SaysWhatStartsTheApplication) {
  EXPECT_EQ(textOf(plainEntry()),
            "[Desktop Entry]\n"
            "Type=Application\n"
            "Version=1.0\n"
            "Name=Tessaly\n"
            "Exec=\"/Applications/Tessaly.app/Contents/MacOS/Tessaly\"\n"
            "TryExec=/Applications/Tessaly.app/Contents/MacOS/Tessaly\n"
            "Terminal=false\n"
            "X-Quillmark-Bundle=/Applications/Tessaly.app\n");
  expectValid(plainEntry());
}

TEST(DesktopEntryText, NamesIconAndDocuments) {
  DesktopEntry entry = plainEntry();
  entry.icon = "/Applications/Tessaly.app/Contents/Resources/App Icon.png";
  entry.mediaTypes = {"text/plain", "Application/X-Tessaly+XML", "text/plain"};
  EXPECT_THAT(textOf(entry), HasSubstr("Exec=\"/Applications/Tessaly.app/Contents/MacOS/Tessaly\" %F\n"));
  EXPECT_THAT(textOf(entry), HasSubstr("\nIcon=/Applications/Tessaly.app/Contents/Resources/App Icon.png\n"));
  EXPECT_THAT(textOf(entry), HasSubstr("\nMimeType=text/plain;application/x-tessaly+xml;\n"));
  expectValid(entry);
}

TEST(DesktopEntryText, LeavesOutWhatIsNoMediaType) {
  DesktopEntry entry = plainEntry();
  entry.mediaTypes = {"",
                      "text",
                      "/",
                      "text/",
                      "/plain",
                      "text/a b",
                      "text/a;b",
                      "foo/bar",
                      "text/plain\nExec=/bin/sh",
                      "a/b/c",
                      "text/" + std::string(300, 'x')};
  EXPECT_EQ(textOf(entry), textOf(plainEntry()));
}

TEST(DesktopEntryText, TakesPathsByTheLetter) {
  DesktopEntry entry = plainEntry();
  entry.executable = "/a b/\"q\"/$HOME/`id`/back\\slash/100%/%f/'x'/;#&|<>*?~/ü日本";
  EXPECT_THAT(textOf(entry),
              HasSubstr("\nExec=/usr/bin/env \"/a "
                        "b/\\\\\"q\\\\\"/\\\\$HOME/\\\\`id\\\\`/back\\\\\\\\slash/100%%/%%f/'x'/;#&|<>*?~/ü日本\"\n"));
  EXPECT_THAT(textOf(entry), HasSubstr("\nTryExec=/a b/\"q\"/$HOME/`id`/back\\\\slash/100%/%f/'x'/;#&|<>*?~/ü日本\n"));
  expectValid(entry);
}

TEST(DesktopEntryText, KeepsLineEndsOfPathsFromBeingLines) {
  DesktopEntry entry = plainEntry();
  entry.executable = "/a\nExec=\tx\r/b";
  EXPECT_EQ(desktopEntryText(entry, kMark), std::nullopt) << "there is a = in it";
  entry.executable = "/a\nb\tc\r/d";
  entry.bundle = "/a\n[Desktop Action x]";
  EXPECT_THAT(textOf(entry), HasSubstr("\nExec=\"/a\\nb\\tc\\r/d\"\n"));
  EXPECT_THAT(textOf(entry), HasSubstr("\nX-Quillmark-Bundle=/a\\n[Desktop Action x]\n"));
  expectValid(entry);
}

TEST(DesktopEntryText, HasNamesOnOneLine) {
  const std::vector<std::pair<std::string, std::string>> names = {
      {"a\nExec=/bin/sh", "a Exec=/bin/sh"},
      {" \t\x01padded\x7f ", "padded"},
      {"b\\nc", "b\\\\nc"},
      {"bad\xff"
       "bytes",
       "bad\xEF\xBF\xBD"
       "bytes"},
      {"l\xE2\x80\xA8p\xC2\x85n", "l p n"},
      {"[Desktop Entry]", "[Desktop Entry]"},
      {"a\u202Eb\u202Ac\u2066d\u2069e\u200Ff", "abcde\u200Ff"},
      {"\u202E", "Tessaly.app"},
      {std::string(300, 'x'), std::string(200, 'x')},
      {"\n", "Tessaly.app"},
      {"", "Tessaly.app"}};
  for (const auto& [name, shown] : names) {
    DesktopEntry entry = plainEntry();
    entry.name = name;
    EXPECT_THAT(textOf(entry), HasSubstr("\nName=" + shown + "\n"));
    expectValid(entry);
  }
}

TEST(DesktopEntryText, IsCalledByItsProgramWhenNothingElseShowsAnything) {
  DesktopEntry entry = plainEntry();
  entry.name = "\n";
  entry.bundle = "/x/ ";
  entry.executable = "/x/ /Contents/MacOS/Program";
  EXPECT_THAT(textOf(entry), HasSubstr("\nName=Program\n"));
  entry.executable = "/x/ /Contents/MacOS/ ";
  EXPECT_EQ(desktopEntryText(entry, kMark), std::nullopt);
}

TEST(DesktopEntryText, NamesThousandsOfMediaTypesOnceEachAndAtOnce) {
  DesktopEntry entry = plainEntry();
  for (int i = 0; i < 40'000; ++i) entry.mediaTypes.push_back("text/x-" + std::to_string(i % 20'000));
  const std::string text = textOf(entry);
  EXPECT_EQ(std::count(text.begin(), text.end(), ';'), 20'000);
}

TEST(DesktopEntryText, IsNotMadeOfPathsThatTheRulesCannotExpress) {
  for (const std::string path : {"/a\x01", "/a\x7f", "/a\xC2\x85", "/\xff", "/a=b"}) {
    DesktopEntry entry = plainEntry();
    entry.executable = path;
    EXPECT_EQ(desktopEntryText(entry, kMark), std::nullopt) << path;
  }
  DesktopEntry entry = plainEntry();
  entry.bundle = "/\xff";
  EXPECT_EQ(desktopEntryText(entry, kMark), std::nullopt);
  entry = plainEntry();
  entry.icon = "/\xff.png";
  EXPECT_EQ(textOf(entry), textOf(plainEntry())) << "it does without the icon";
}

TEST(DesktopEntryText, KnowsItsOwn) {
  EXPECT_TRUE(linux_::isOwnDesktopEntry(textOf(plainEntry()), kMark));
  EXPECT_FALSE(linux_::isOwnDesktopEntry("[Desktop Entry]\nType=Application\nName=X-Quillmark-Bundle=/a\n", kMark));
  EXPECT_FALSE(linux_::isOwnDesktopEntry("", kMark));
}

TEST(DesktopEntryName, ComesFromTheIdentifierAndIsNobodyElses) {
  EXPECT_EQ(desktopEntryName("com.quillmark.Tessaly", "/A.app", kMark),
            "quillmark-bundle-com.quillmark.Tessaly.desktop");
  EXPECT_EQ(desktopEntryName("org.gnome.Nautilus", "/A.app", kMark), "quillmark-bundle-org.gnome.Nautilus.desktop");
}

TEST(DesktopEntryName, StaysWithinTheFolderAndTellsBundlesApart) {
  const std::string sneaky = desktopEntryName("../../x y", "/A.app", kMark);
  EXPECT_EQ(sneaky.find('/'), std::string::npos);
  EXPECT_THAT(sneaky, Not(HasSubstr(" ")));
  EXPECT_NE(sneaky, desktopEntryName("..-..-x-y", "/A.app", kMark));
  EXPECT_NE(desktopEntryName("", "/a/X.app", kMark), desktopEntryName("", "/b/X.app", kMark));
  EXPECT_THAT(desktopEntryName("", "/a/X.app", kMark), HasSubstr("quillmark-bundle-X.app-"));
  EXPECT_EQ(desktopEntryName("", "/a/X.app", kMark), desktopEntryName("", "/a/X.app", kMark));
  EXPECT_LE(desktopEntryName(std::string(1000, 'x'), "/A.app", kMark).size(), 255U);
}

}  // namespace
}  // namespace qm::testing

// SPDX-License-Identifier: MIT
#include "Platform/foundation/PathComponents.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace {

using namespace qm::foundation;
using Strings = std::vector<std::string>;

struct Parts {
  const char* path;
  const char* last;
  const char* withoutLast;
  const char* extension;
  const char* withoutExtension;
};

constexpr Parts table[] = {
    {"", "", "", "", ""},
    {"/", "/", "/", "", "/"},
    {"///", "/", "/", "", "/"},
    {"a", "a", "", "", "a"},
    {"/a", "a", "/", "", "/a"},
    {"/a/b", "b", "/a", "", "/a/b"},
    {"/a/b/", "b", "/a", "", "/a/b"},
    {"/a/b//", "b", "/a", "", "/a/b"},
    {"/a//b", "b", "/a", "", "/a//b"},
    {"//a", "a", "/", "", "//a"},
    {"a/b", "b", "a", "", "a/b"},
    {"a/", "a", "", "", "a"},
    {"/a/b.c", "b.c", "/a", "c", "/a/b"},
    {"a.tar.gz", "a.tar.gz", "", "gz", "a.tar"},
    {"/d/a.tar.gz", "a.tar.gz", "/d", "gz", "/d/a.tar"},
    {"/d/a.tar/", "a.tar", "/d", "tar", "/d/a"},
    {"a.", "a.", "", "", "a"},
    {"/d/a.", "a.", "/d", "", "/d/a"},
    {".hidden", ".hidden", "", "", ".hidden"},
    {"/d/.hidden", ".hidden", "/d", "", "/d/.hidden"},
    {"/d/.hidden.txt", ".hidden.txt", "/d", "txt", "/d/.hidden"},
    {"scratch..tiff", "scratch..tiff", "", "tiff", "scratch."},
    {"/d.ext/a", "a", "/d.ext", "", "/d.ext/a"},
    {"..", "..", "", "", "."},
    {"/d/a.\xff", "a.\xff", "/d", "\xff", "/d/a"},
    {"/d/Icon\r", "Icon\r", "/d", "", "/d/Icon\r"},
};

class PathParts : public ::testing::TestWithParam<Parts> {};

TEST_P(PathParts, AreTakenApartByThePlatformsRules) {
  const Parts& parts = GetParam();
  EXPECT_EQ(lastPathComponent(parts.path), parts.last);
  EXPECT_EQ(deletingLastPathComponent(parts.path), parts.withoutLast);
  EXPECT_EQ(pathExtension(parts.path), parts.extension);
  EXPECT_EQ(deletingPathExtension(parts.path), parts.withoutExtension);
}

INSTANTIATE_TEST_SUITE_P(Table, PathParts, ::testing::ValuesIn(table));

TEST(AppendingAPathComponent, PutsOneSlashBetweenTheTwo) {
  EXPECT_EQ(appendingPathComponent("/a", "b"), "/a/b");
  EXPECT_EQ(appendingPathComponent("/a/", "b"), "/a/b");
  EXPECT_EQ(appendingPathComponent("/a", "/b"), "/a/b");
  EXPECT_EQ(appendingPathComponent("/a//", "//b"), "/a/b");
  EXPECT_EQ(appendingPathComponent("/", "b"), "/b");
  EXPECT_EQ(appendingPathComponent("/R", "/A/b"), "/R/A/b");
}

TEST(AppendingAPathComponent, FoldsSlashesEverywhereAndDropsTrailingOnes) {
  EXPECT_EQ(appendingPathComponent("//a//b", "c//d/"), "/a/b/c/d");
  EXPECT_EQ(appendingPathComponent("/a", "/"), "/a");
  EXPECT_EQ(appendingPathComponent("/", "/"), "/");
}

TEST(AppendingAPathComponent, GivesTheOtherWhenOneIsEmpty) {
  EXPECT_EQ(appendingPathComponent("/a", ""), "/a");
  EXPECT_EQ(appendingPathComponent("/", ""), "/");
  EXPECT_EQ(appendingPathComponent("", "b"), "b");
  EXPECT_EQ(appendingPathComponent("", "/b/"), "/b");
  EXPECT_EQ(appendingPathComponent("", ""), "");
}

TEST(AppendingAPathComponent, KeepsNilNil) {
  const std::optional<std::string> none;
  EXPECT_EQ(appendingPathComponent(none, "b"), std::nullopt);
  const std::optional<std::string> some = "/a";
  EXPECT_EQ(appendingPathComponent(some, "b"), "/a/b");
}

TEST(PathComponents, BeginWithASlashForAnAbsolutePath) {
  EXPECT_EQ(pathComponents("/a/b"), (Strings{"/", "a", "b"}));
  EXPECT_EQ(pathComponents("//a//b"), (Strings{"/", "a", "b"}));
  EXPECT_EQ(pathComponents("a/b"), (Strings{"a", "b"}));
}

TEST(PathComponents, EndWithASlashForATrailingOne) {
  EXPECT_EQ(pathComponents("/a/"), (Strings{"/", "a", "/"}));
  EXPECT_EQ(pathComponents("a//"), (Strings{"a", "/"}));
}

TEST(PathComponents, OfARootAreOneSlashAndOfNothingNone) {
  EXPECT_EQ(pathComponents("/"), Strings{"/"});
  EXPECT_EQ(pathComponents("///"), Strings{"/"});
  EXPECT_EQ(pathComponents(""), Strings{});
}

TEST(APath, IsAtOrBelowTheFolderThatItsComponentsBeginWith) {
  EXPECT_TRUE(isAtOrBelow("/a", "/a"));
  EXPECT_TRUE(isAtOrBelow("/a/b/c", "/a"));
  EXPECT_FALSE(isAtOrBelow("/ab", "/a"));
  EXPECT_FALSE(isAtOrBelow("/", "/a"));
  EXPECT_FALSE(isAtOrBelow("/b/a", "/a"));
}

TEST(GoesUp, WhereAComponentIsTwoDots) {
  for (const char* const path : {"..", "../a", "/a/..", "/a/../b"}) EXPECT_TRUE(goesUp(path)) << path;
  for (const char* const path : {"", "/", "/a/..b", "/a../b", "/a/...", "a"}) EXPECT_FALSE(goesUp(path)) << path;
}

}  // namespace

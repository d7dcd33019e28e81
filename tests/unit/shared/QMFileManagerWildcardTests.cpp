// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "Shared/QMFileManager.h"
#include "tests/support/PlatformTest.h"

namespace qm::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Paths = std::vector<std::string>;

// MARK: - What must not compile

template <class Pattern>
constexpr bool isPattern = requires(Pattern pattern) {
  QMFileManager::filesMatchingWildcardPath(pattern);
}
|| requires(Pattern pattern) { QMFileManager::filesMatchingWildcardPath(pattern, std::nullopt); }
|| requires(Pattern pattern) { QMFileManager::decodeWildcardPath(pattern, std::nullopt); };
template <class Base>
constexpr bool isBase = requires(Base base) {
  QMFileManager::filesMatchingWildcardPath("/*", base);
}
|| requires(Base base) { QMFileManager::decodeWildcardPath("/*", base); };
static_assert(isPattern<const char*> && isPattern<std::string> && !isPattern<std::nullptr_t>);
static_assert(isBase<const char*> && isBase<std::nullopt_t> && !isBase<std::nullptr_t>);

class WildcardTest : public PlatformTest {
 protected:
  void addFiles(const Paths& paths) {
    for (const std::string& path : paths) fakes.disk.addFile(path);
  }
  static Paths matching(const std::string& pattern, const std::optional<std::string>& base = std::nullopt) {
    return QMFileManager::filesMatchingWildcardPath(pattern, base);
  }
  static std::optional<std::string> decoded(const std::string& pattern, const std::optional<std::string>& base) {
    return QMFileManager::decodeWildcardPath(pattern, base);
  }
};

// MARK: - Without a star

TEST_F(WildcardTest, AnswersTheOnePathOfAPatternWithoutAStarAndLooksAtNothing) {
  EXPECT_THAT(matching("/none/a?c"), ElementsAre("/none/a?c"));
  EXPECT_THAT(matching("none"), ElementsAre("none"));
  EXPECT_THAT(matching("/none//a/"), ElementsAre("/none//a/")) << "as it is written";
  EXPECT_THAT(matching(""), ElementsAre(""));
  EXPECT_EQ(fakes.calls.callCount(), 0U);
}

TEST_F(WildcardTest, JoinsAPatternWithoutAStarWithItsBase) {
  EXPECT_THAT(matching("none", "/base"), ElementsAre("/base/none"));
  EXPECT_THAT(matching("/none//a/", "/base/"), ElementsAre("/base/none/a"));
  EXPECT_THAT(matching("", "/base"), ElementsAre("/base"));
  EXPECT_EQ(fakes.calls.callCount(), 0U);
}

TEST_F(WildcardTest, TakesAStarInTheBaseAsItStands) {
  EXPECT_THAT(matching("none", "/b*"), ElementsAre("/b*/none"));
  EXPECT_EQ(fakes.calls.callCount(), 0U);
  addFiles({"/b1/x", "/b*/y"});
  EXPECT_THAT(matching("*", "/b*"), ElementsAre("/b*/y"));
}

// MARK: - Where the walk begins

TEST_F(WildcardTest, ReadsAPatternWithoutABaseFromTheRootFolder) {
  addFiles({"/Foo1", "/Foo2", "/d/Foo3"});
  EXPECT_THAT(matching("Foo*"), ElementsAre("/Foo1", "/Foo2"));
  EXPECT_THAT(matching("/Foo*"), ElementsAre("/Foo1", "/Foo2"));
  EXPECT_THAT(matching("d/F*"), ElementsAre("/d/Foo3"));
  EXPECT_EQ(QMFileManager::filesMatchingWildcardPath("Foo*"), matching("Foo*"));
}

TEST_F(WildcardTest, ReadsAnAbsolutePatternUnderABaseRelativeToIt) {
  addFiles({"/Library/Foo0", "/Users/u/Library/Foo1", "/Users/u/Library/Foo2"});
  const Paths expected{"/Users/u/Library/Foo1", "/Users/u/Library/Foo2"};
  EXPECT_EQ(matching("/Library/Foo*", "/Users/u"), expected);
  EXPECT_EQ(matching("Library/Foo*", "/Users/u"), expected);
  EXPECT_EQ(matching("//Library///Foo*", "/Users/u/"), expected);
}

TEST_F(WildcardTest, LeadsBackToTheBeginningByASlashAtTheEnd) {
  addFiles({"/d/a/x"});
  EXPECT_THAT(matching("/d/*/"), ElementsAre("/"));
  EXPECT_THAT(matching("*/", "/d"), ElementsAre("/d"));
  EXPECT_THAT(matching("/none/*/", "/d"), ElementsAre("/d"));
}

TEST_F(WildcardTest, FindsNothingFromABaseThatIsNotThere) {
  EXPECT_THAT(matching("*", "/none"), IsEmpty());
  EXPECT_THAT(matching("a/*", "/none"), IsEmpty());
}

// MARK: - What matches

TEST_F(WildcardTest, AnswersMatchesInTheOrderOfTheListing) {
  addFiles({"/d/b.txt", "/d/a.txt", "/d/c.png", "/d/.txt"});
  EXPECT_THAT(matching("/d/*.txt"), ElementsAre("/d/b.txt", "/d/a.txt", "/d/.txt"));
  EXPECT_THAT(matching("/d/*"), ElementsAre("/d/b.txt", "/d/a.txt", "/d/c.png", "/d/.txt"));
}

TEST_F(WildcardTest, CountsLetterCase) {
  addFiles({"/d/cache1", "/d/Cache2"});
  EXPECT_THAT(matching("/d/Cache*"), ElementsAre("/d/Cache2"));
}

TEST_F(WildcardTest, MatchesAQuestionMarkOnlyBesideAStar) {
  addFiles({"/d/ab", "/d/a?", "/d/\u00e9b", "/d/abc"});
  EXPECT_THAT(matching("/d/?b*"), ElementsAre("/d/ab", "/d/\u00e9b", "/d/abc"));
  EXPECT_THAT(matching("/*/a?"), ElementsAre("/d/a?"));
}

TEST_F(WildcardTest, MatchesFoldersAndHiddenEntries) {
  fakes.disk.addFolder("/d/folder");
  addFiles({"/d/.hidden"});
  EXPECT_THAT(matching("/d/*"), ElementsAre("/d/folder", "/d/.hidden"));
}

TEST_F(WildcardTest, FansOutThroughAComponentInTheMiddle) {
  addFiles({"/d/two/x.conf", "/d/two/y.conf", "/d/one/x.conf", "/d/none/z", "/d/file"});
  EXPECT_THAT(matching("/d/*/*.conf"), ElementsAre("/d/two/x.conf", "/d/two/y.conf", "/d/one/x.conf"));
  EXPECT_THAT(matching("/d/*/x.conf"), ElementsAre("/d/two/x.conf", "/d/one/x.conf"));
  EXPECT_THAT(matching("/*/*/z"), ElementsAre("/d/none/z"));
  EXPECT_THAT(matching("*/one/x.conf"), ElementsAre("/d/one/x.conf"));
}

TEST_F(WildcardTest, KeepsAPathThatIsReachedTwice) {
  addFiles({"/d/a/x"});
  fakes.disk.addLink("/d/b", "/d/a");
  EXPECT_THAT(matching("/d/*/x"), ElementsAre("/d/a/x", "/d/b/x"));
  EXPECT_THAT(matching("/d/*/../a"), ElementsAre("/d/a/../a", "/d/b/../a"));
}

TEST_F(WildcardTest, FollowsLinksAndLeavesOutTheDangling) {
  addFiles({"/d/real"});
  fakes.disk.addLink("/d/rope", "/d/real");
  fakes.disk.addLink("/d/rotten", "/nowhere");
  EXPECT_THAT(matching("/d/r*"), ElementsAre("/d/real", "/d/rope"));
  EXPECT_THAT(matching("/*/rotten"), IsEmpty());
}

TEST_F(WildcardTest, FindsNothingWhereNothingMatches) {
  addFiles({"/d/a"});
  EXPECT_THAT(matching("/d/b*"), IsEmpty());
  EXPECT_THAT(matching("/d/a/*"), IsEmpty()) << "a file has no entries";
  EXPECT_THAT(matching("/none/*/x"), IsEmpty());
}

TEST_F(WildcardTest, GoesOnWithoutAFolderThatCannotBeListed) {
  addFiles({"/d/closed/x", "/d/open/x"});
  fakes.disk.setReadable("/d/closed", false);
  EXPECT_THAT(matching("/d/*/*"), ElementsAre("/d/open/x"));
}

TEST_F(WildcardTest, ListsEachFolderOnceAndTestsOnlyWhatAListingDoesNotTell) {
  addFiles({"/d/a/x", "/d/b/x", "/d/b/y"});
  fakes.disk.addLink("/d/b/xlink", "/d/a/x");
  EXPECT_THAT(matching("/d/*/x*"), ElementsAre("/d/a/x", "/d/b/x", "/d/b/xlink"));
  EXPECT_EQ(fakes.calls.count("fileSystem.visitDirectory"), 3U);
  EXPECT_EQ(fakes.calls.count("fileSystem.fileExists"), 2U) << "a name of the pattern, and a link";
}

TEST_F(WildcardTest, LeavesOutFoldersThatAreListedAndAreNotThereForTheUser) {
  addFiles({"/d/mounted/x", "/d/open/x"});
  fakes.calls.failNext("fileSystem.fileExists(/d/mounted)");
  EXPECT_THAT(matching("/d/*"), ElementsAre("/d/open"));
}

TEST_F(WildcardTest, FindsNothingInAFolderThatCannotBeReadToItsEnd) {
  addFiles({"/d/a/x", "/d/b/x"});
  fakes.calls.failNext("fileSystem.visitDirectory(/d)");
  EXPECT_THAT(matching("/d/*/x"), IsEmpty());
  fakes.calls.failNext("fileSystem.visitDirectory(/d/a)");
  EXPECT_THAT(matching("/d/*/*"), ElementsAre("/d/b/x"));
}

TEST_F(WildcardTest, LeavesOutWhatIsListedButCannotBeReached) {
  addFiles({"/d/closed/x", "/d/open/x"});
  fakes.disk.setSearchable("/d/closed", false);
  EXPECT_THAT(matching("/d/*/*"), ElementsAre("/d/open/x"));
}

TEST_F(WildcardTest, AnswersOnlyTrueMatchesWhateverCallFails) {
  const auto arrange = [](FakeDisk& disk) {
    for (const char* path : {"/d/a/x", "/d/b/y"}) disk.addFile(path);
    disk.addLink("/d/b/x", "y");
  };
  arrange(fakes.disk);
  ASSERT_THAT(matching("/d/*/x*"), ElementsAre("/d/a/x", "/d/b/x"));
  const std::size_t count = fakes.calls.callCount();
  ASSERT_EQ(count, 5U);
  for (std::size_t number = 1; number <= count; ++number) {
    SCOPED_TRACE("call " + std::to_string(number));
    FakePlatform machine;
    const ScopedPlatform installed(machine.platform);
    arrange(machine.disk);
    machine.calls.failCallNumber(number);
    const Paths found = matching("/d/*/x*");
    EXPECT_LT(found.size(), 2U);
    EXPECT_THAT(found, ::testing::IsSubsetOf({"/d/a/x", "/d/b/x"}));
    EXPECT_THAT(machine.console.lines(), IsEmpty());
    machine.end();
  }
}

// MARK: - One path

TEST_F(WildcardTest, DecodesAPatternToItsFirstMatch) {
  addFiles({"/d/b1", "/d/b0"});
  EXPECT_EQ(decoded("/d/b*", std::nullopt), "/d/b1");
  EXPECT_EQ(decoded("b*", "/d"), "/d/b1");
}

TEST_F(WildcardTest, DecodesAPatternWithoutAMatchToItselfUnderTheBase) {
  EXPECT_EQ(decoded("x*/y", "/d"), "/d/x*/y");
  EXPECT_EQ(decoded("/x*", "/d"), "/d/x*");
}

TEST_F(WildcardTest, DecodesAPatternWithNeitherMatchNorBaseToNil) {
  EXPECT_EQ(decoded("/none/x*", std::nullopt), std::nullopt);
}

TEST_F(WildcardTest, DecodesAPatternWithoutAStarToItsPath) {
  EXPECT_EQ(decoded("/none/x", std::nullopt), "/none/x");
  EXPECT_EQ(decoded("x", "/none"), "/none/x");
}

}  // namespace
}  // namespace qm::testing

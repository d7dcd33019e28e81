// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <set>
#include <thread>

#include "Platform/macos/MacServices.h"
#include "tests/gnustep/ConsoleUserStandIn.h"

namespace qm::testing {
namespace {

using platform::DomainMask;
using platform::StandardDirectory;
using ::testing::Each;
using ::testing::HasSubstr;

MATCHER(IsAbsoluteWithoutTrailingSlash, "") { return arg.starts_with('/') && arg.size() > 1 && !arg.ends_with('/'); }

// ---- folders

TEST(MacDirectories, AreAbsoluteAndComplete) {
  const auto directories = macos::makeDirectories();
  for (const auto directory :
       {StandardDirectory::Library, StandardDirectory::Application, StandardDirectory::Documentation}) {
    const auto found = directories->search(directory, DomainMask::Local);
    EXPECT_FALSE(found.empty());
    EXPECT_THAT(found, Each(IsAbsoluteWithoutTrailingSlash()));
  }
}

TEST(MacDirectories, OfAUserAreInTheHome) {
  const auto found = macos::makeDirectories()->search(StandardDirectory::Library, DomainMask::User);
  ASSERT_FALSE(found.empty());
  EXPECT_EQ(found.front().rfind(macos::makeUsers()->homeDirectory(), 0), 0U) << found.front();
}

TEST(MacDirectories, KnowTheTemporaryFolder) {
  const std::string folder = macos::makeDirectories()->temporaryDirectory();
  EXPECT_THAT(folder, IsAbsoluteWithoutTrailingSlash());
  EXPECT_TRUE(std::filesystem::is_directory(folder));
}

// ---- users

class MacUsers : public ::testing::Test {
 public:
  ~MacUsers() override { setConsoleUser(std::nullopt); }

 protected:
  const std::unique_ptr<platform::Users> users = macos::makeUsers();
  const passwd* const own = ::getpwuid(::getuid());
};

TEST_F(MacUsers, KnowTheirOwn) {
  EXPECT_EQ(users->realUserId(), ::getuid());
  EXPECT_EQ(users->userName(), own->pw_name);
  EXPECT_EQ(users->homeDirectory(), own->pw_dir);
}

TEST_F(MacUsers, HaveAHomeWhereTheyAreKnown) {
  EXPECT_EQ(users->homeDirectoryForUser("root"), ::getpwnam("root")->pw_dir);
  EXPECT_EQ(users->homeDirectoryForUser("nobody-of-this-name"), std::nullopt);
  EXPECT_EQ(users->homeDirectoryForUser(std::nullopt), std::nullopt);
}

TEST_F(MacUsers, MayBeAtTheConsole) {
  EXPECT_EQ(users->consoleUser(), std::nullopt);
  setConsoleUser("anna");
  EXPECT_EQ(users->consoleUser(), "anna");
}

TEST_F(MacUsers, AreKnownToAThreadOfTheLanguages) {
  std::string name;
  std::thread([&] { name = users->userName(); }).join();
  EXPECT_EQ(name, own->pw_name);
}

// ---- facts

TEST(MacFacts, AreTheSystems) {
  const auto facts = macos::makeSystemInformation();
  EXPECT_EQ(facts->processorCount(), ::sysconf(_SC_NPROCESSORS_ONLN));
  const auto pages = static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES));
  EXPECT_EQ(facts->physicalMemory(), pages * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE)));
  EXPECT_EQ(facts->executablePath(), std::filesystem::read_symlink("/proc/self/exe").string());
  EXPECT_NE(facts->operatingSystemVersion(), "");
}

TEST(MacFacts, HaveStringsThatAreNeverTheSame) {
  const auto facts = macos::makeSystemInformation();
  std::set<std::string> strings;
  for (int i = 0; i < 100; ++i) strings.insert(facts->globallyUniqueString());
  EXPECT_EQ(strings.size(), 100U);
}

// ---- property lists

class MacPropertyLists : public ::testing::Test {
 public:
  ~MacPropertyLists() override { std::filesystem::remove_all(folder_); }

 protected:
  std::optional<platform::PropertyList> read(const std::string& contents) const {
    std::ofstream(path()) << contents;
    return lists->read(path());
  }
  std::optional<platform::PropertyList> readXml(const std::string& body) const {
    return read("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + body + "</plist>\n");
  }
  std::string path() const { return folder_ + "/a.plist"; }

  const std::unique_ptr<platform::PropertyLists> lists = macos::makePropertyLists();

 private:
  char pattern_[22] = "/tmp/mac-lists-XXXXXX";
  const std::string folder_ = ::mkdtemp(pattern_);
};

TEST_F(MacPropertyLists, HaveEveryKindOfValue) {
  const auto list = readXml(
      "<dict><key>on</key><true/><key>off</key><false/><key>number</key><integer>-7</integer><key>real</key><real>1.5</"
      "real>"
      "<key>text</key><string>ä</string><key>list</key><array/></dict>");
  ASSERT_TRUE(list);
  const platform::PropertyList expected{{"on", true},  {"off", false}, {"number", std::int64_t{-7}},
                                        {"real", 1.5}, {"text", "ä"},  {"list", std::monostate()}};
  EXPECT_EQ(*list, expected);
}

TEST_F(MacPropertyLists, MayBeEmpty) { EXPECT_EQ(readXml("<dict/>"), platform::PropertyList()); }

/// A binary list of one dictionary with two keys, the number 1 and the text "a". Its last 32 bytes say how many bytes
/// an offset and a reference have, how many objects there are, which is the first, and where the offsets are.
std::string listWithANumberAsKey() {
  const std::string objects("\xd2\x01\x02\x03\x04\x10\x01\x51\x61\x09\x08", 11);
  const std::string offsets("\x08\x0d\x0f\x11\x12", 5);
  std::string end(32, '\0');
  end[6] = end[7] = 1;
  end[15] = 5;
  end[31] = static_cast<char>(8 + objects.size());
  return "bplist00" + objects + offsets + end;
}

TEST_F(MacPropertyLists, HaveNoKeysButTexts) {
  const auto list = read(listWithANumberAsKey());
  ASSERT_TRUE(list);
  EXPECT_EQ(*list, (platform::PropertyList{{"a", false}}));
}

TEST_F(MacPropertyLists, AreNoneWithoutADictionary) {
  EXPECT_EQ(readXml("<array><true/></array>"), std::nullopt);
  EXPECT_EQ(readXml("<string>x</string>"), std::nullopt);
}

TEST_F(MacPropertyLists, AreNoneWhereThereIsNoFileToRead) {
  EXPECT_EQ(lists->read(path()), std::nullopt);
  EXPECT_EQ(lists->read("/tmp"), std::nullopt);
  ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
  EXPECT_EQ(lists->read(path()), std::nullopt);
}

TEST_F(MacPropertyLists, AreNoneWhereTheBytesAreBroken) {
  EXPECT_EQ(read(""), std::nullopt);
  EXPECT_EQ(read(std::string("bplist00\0\0\0", 11)), std::nullopt);
  EXPECT_EQ(readXml("<dict><key>a</key>"), std::nullopt);
  EXPECT_EQ(read(std::string(4096, '\xff')), std::nullopt);
}

// ---- console

std::string printed(std::string_view text) {
  ::testing::internal::CaptureStderr();
  macos::makeConsole()->print(text);
  return ::testing::internal::GetCapturedStderr();
}

TEST(MacConsole, PrintsTextAsItIs) { EXPECT_THAT(printed("“ü” stays"), HasSubstr(" “ü” stays\n")); }

TEST(MacConsole, ShowsBytesThatAreNoText) { EXPECT_THAT(printed("a\xff\tb\xc3"), HasSubstr(" a? b?\n")); }

// ---- packages

TEST(MacPackages, AreNoneWhereNothingIsAndWhereThePathIsNoText) {
  EXPECT_FALSE(macos::makePackages()->isFilePackage("/tmp/missing.app"));
  EXPECT_FALSE(macos::makePackages()->isFilePackage(""));
  EXPECT_FALSE(macos::makePackages()->isFilePackage("/tmp/\xff.app"));
  EXPECT_FALSE(macos::makePackages()->isFilePackage("/tmp"));
}

// ---- threads

TEST(MacThreads, RunBesideTheirMaker) {
  const auto threads = macos::makeThreads();
  std::atomic<bool> ended = false;
  std::thread::id other;
  ASSERT_TRUE(threads->detachNewThread([&] {
    other = std::this_thread::get_id();
    ended = true;
    ended.notify_one();
  }));
  ended.wait(false);
  EXPECT_NE(other, std::this_thread::get_id());
}

TEST(MacThreads, MayUseEveryService) {
  const auto threads = macos::makeThreads();
  std::atomic<int> ended = 0;
  std::set<std::string> strings[8];
  for (auto& mine : strings) {
    ASSERT_TRUE(threads->detachNewThread([&] {
      for (int i = 0; i < 50; ++i)
        mine.insert(macos::makeSystemInformation()->globallyUniqueString() + macos::makeUsers()->userName());
      ++ended;
      ended.notify_one();
    }));
  }
  for (int now = ended; now < 8; now = ended) ended.wait(now);
  for (const auto& each : strings) EXPECT_EQ(each.size(), 50U);
}

}  // namespace
}  // namespace qm::testing

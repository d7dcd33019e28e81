// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <thread>

#include "Platform/linux/system/OwnPrograms.h"
#include "Platform/linux/system/SystemFacts.h"
#include "Uninstaller/Product.h"
#include "tests/support/PrivateMachine.h"
#include "tests/unit/system/Stubs.h"

namespace qm::testing {
namespace {

using linux_::prettyName;

struct SystemFacts : ::testing::Test {
  std::optional<std::string> versionFrom(const std::string& path, const platform::PropertyListValue& value) {
    lists.lists = {{path, {{"CFBundleVersion", value}}}};
    return linux_::SystemFacts(lists, kProduct, "/opt/t/bin/program").bundleVersion();
  }
  std::string kernel() const {
    utsname name{};
    ::uname(&name);
    return std::string("Linux ") + name.release;
  }

  StubPropertyLists lists;
  linux_::SystemFacts facts{lists, kProduct, "/opt/t/bin/program"};
};

TEST(OsRelease, GivesTheNameForPeople) {
  EXPECT_EQ(prettyName("ID=debian\nPRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\nX=1\n"),
            "Debian GNU/Linux 12 (bookworm)");
  EXPECT_EQ(prettyName("PRETTY_NAME=Plain"), "Plain");
  EXPECT_EQ(prettyName("PRETTY_NAME='In single \\ quotes'\n"), "In single \\ quotes");
  EXPECT_EQ(prettyName("PRETTY_NAME=\"A \\\"quoted\\\" \\$name\"\n"), "A \"quoted\" $name");
}

TEST(OsRelease, GivesNothingWithoutOne) {
  EXPECT_EQ(prettyName(""), std::nullopt);
  EXPECT_EQ(prettyName("\n\nNAME=x\n"), std::nullopt);
  EXPECT_EQ(prettyName("PRETTY_NAME=\n"), std::nullopt);
  EXPECT_EQ(prettyName("#PRETTY_NAME=x\nXPRETTY_NAME=x"), std::nullopt);
}

TEST(OsRelease, ToleratesAnUnfinishedQuote) {
  EXPECT_EQ(prettyName("PRETTY_NAME=\""), "\"");
  EXPECT_EQ(prettyName("PRETTY_NAME=\"half\n"), "\"half");
  EXPECT_EQ(prettyName("PRETTY_NAME=\"\\\""), "\\");
}

TEST_F(SystemFacts, NamesTheDistributionAndTheKernel) {
  runInPrivateMachine([this] {
    mountTmpfs("/etc");
    std::ofstream("/etc/os-release") << "PRETTY_NAME=\"Made Up 7\"\n";
    EXPECT_EQ(facts.operatingSystemVersion(), "Made Up 7, " + kernel());
  });
}

TEST_F(SystemFacts, NamesTheKernelAloneWithoutADistribution) {
  runInPrivateMachine([this] {
    mountTmpfs("/etc");
    mountTmpfs("/usr/lib");
    EXPECT_EQ(facts.operatingSystemVersion(), kernel());
  });
}

TEST_F(SystemFacts, CountsProcessorsAndMemory) {
  EXPECT_EQ(facts.processorCount(), ::sysconf(_SC_NPROCESSORS_ONLN));
  const auto bytes =
      static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES)) * static_cast<std::uint64_t>(::getpagesize());
  EXPECT_EQ(facts.physicalMemory(), bytes);
}

TEST_F(SystemFacts, NeverGivesAUniqueStringTwice) {
  std::vector<std::vector<std::string>> given(4);
  std::vector<std::thread> threads;
  for (auto& strings : given) {
    threads.emplace_back([&] {
      for (int i = 0; i < 500; ++i) strings.push_back(facts.globallyUniqueString());
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::set<std::string> all;
  for (const auto& strings : given) all.insert(strings.begin(), strings.end());
  EXPECT_EQ(all.size(), 2000U);
}

TEST_F(SystemFacts, GivesUniqueStringsThatAreSafeAsFileNames) {
  EXPECT_THAT(facts.globallyUniqueString(), ::testing::MatchesRegex("[0-9a-f]{32}-[0-9a-f]+-[0-9a-f]+-[0-9a-f]+"));
}

TEST_F(SystemFacts, StaysUniqueWithoutRandomBytes) {
  inChild([this] {
    failSystemCall(SYS_getrandom, EAGAIN);
    const std::string one = facts.globallyUniqueString();
    EXPECT_EQ(one.substr(0, 33), std::string(32, '0') + "-");
    EXPECT_NE(one, facts.globallyUniqueString());
  });
}

TEST_F(SystemFacts, KnowsTheExecutable) {
  EXPECT_EQ(linux_::runningExecutable(), std::filesystem::read_symlink("/proc/self/exe").string());
  EXPECT_EQ(facts.executablePath(), "/opt/t/bin/program");
  EXPECT_EQ(linux_::SystemFacts(lists, kProduct, std::nullopt).executablePath(), std::nullopt);
}

TEST_F(SystemFacts, FindsTheZipToolWhereItIsInstalledAndElseBesideTheProgram) {
  runInPrivateMachine([this] {
    const std::filesystem::path root = machineFolder();
    const linux_::SystemFacts installed(lists, kProduct, root / "bin/program");
    EXPECT_EQ(installed.zipToolPath(), root / "bin/tessaly-ditto");
    std::filesystem::create_directory(root / "libexec");
    std::ofstream(root / "libexec/tessaly-ditto") << "#!/bin/sh\n";
    EXPECT_EQ(installed.zipToolPath(), root / "bin/tessaly-ditto");  // nobody may run the other one
    std::filesystem::permissions(root / "libexec/tessaly-ditto", std::filesystem::perms(0755));
    EXPECT_EQ(installed.zipToolPath(), root / "libexec/tessaly-ditto");
  });
}

TEST_F(SystemFacts, FindsWhatIsInstalledWhereTheProductSays) {
  platform::ProductIdentity product = kProduct;
  const auto folders = [](const char* way) {
    return std::vector{linux_::installedFolder("/opt/t/bin/program", way), linux_::installedFolder(std::nullopt, way)};
  };
  EXPECT_THAT(folders("../lib/t"), ::testing::ElementsAre("/opt/t/lib/t", "/usr/lib/t"));
  EXPECT_THAT(folders("../../.."), ::testing::ElementsAre("/", "/"));
  EXPECT_THAT(folders("../"), ::testing::ElementsAre("/opt/t", "/usr"));
  EXPECT_THAT(folders("parts"), ::testing::ElementsAre("/opt/t/bin/parts", "/usr/bin/parts"));
  EXPECT_THAT(folders(""), ::testing::ElementsAre("/opt/t/bin", "/usr/bin"));
  EXPECT_THAT(folders("/srv/libexec"), ::testing::ElementsAre("/srv/libexec", "/srv/libexec"));
  product.programsFolder = "/usr/bin";
  product.zipTool = "env";
  EXPECT_EQ(linux_::SystemFacts(lists, product, "/opt/t/bin/program").zipToolPath(), "/usr/bin/env");
}

TEST_F(SystemFacts, FindsTheVersionBesideTheExecutablesFolder) {
  EXPECT_EQ(versionFrom("/opt/t/Info.plist", std::string("1.2.3")), "1.2.3");
  EXPECT_EQ(versionFrom("/opt/t/share/tessaly-uninstaller/Info.plist", std::string("1.4")), "1.4");
  EXPECT_EQ(versionFrom("/opt/t/Info.plist", std::int64_t{7}), "7");
}

TEST_F(SystemFacts, HasNoVersionWithoutADictionaryOrItsKey) {
  EXPECT_EQ(facts.bundleVersion(), std::nullopt);
  EXPECT_EQ(versionFrom("/opt/t/bin/Info.plist", std::string("1")), std::nullopt);
  EXPECT_EQ(versionFrom("/opt/t/Info.plist", true), std::nullopt);
  EXPECT_EQ(linux_::SystemFacts(lists, kProduct, std::nullopt).bundleVersion(), std::nullopt);
}

}  // namespace
}  // namespace qm::testing

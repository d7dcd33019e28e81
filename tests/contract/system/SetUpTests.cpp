// SPDX-License-Identifier: MIT
#include "Platform/SetUp.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>

#include "Platform/AuthorizationServices.h"
#include "Platform/SystemInformation.h"
#include "Shared/FileOperationDelegate.h"
#include "Shared/QMFileManager.h"
#include "Shared/QMLocalPaths.h"

namespace qm::testing {
namespace {

namespace fs = std::filesystem;

constexpr platform::ProductIdentity kTidy = {.program = "tidy", .zipTool = "/opt/tidy/zip"};

const platform::Platform& setUp() { return platform::setUp(kTidy); }

TEST(SetUpDeathTest, AClassThatIsUsedBeforeItSaysSoAndAborts) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto useTooEarly = [] {
    platform::install(nullptr);
    static_cast<void>(QMLocalPaths::username());
  };
  EXPECT_EXIT(useTooEarly(), ::testing::KilledBySignal(SIGABRT),
              "^The services are used before qm::platform::setUp has set them up\\.\n$");
}

TEST(SetUp, InstallsTheSameServicesEachTime) {
  const platform::Platform& services = setUp();
  EXPECT_EQ(&platform::platform(), &services);
  platform::install(nullptr);
  EXPECT_EQ(&platform::setUp({.program = "other"}), &services);
  EXPECT_EQ(&platform::platform(), &services);
  EXPECT_EQ(services.userInterface, nullptr);
}

TEST(SetUp, MakesTheCallingThreadTheMainOne) {
  const platform::MainThread& main = *setUp().mainThread;
  EXPECT_TRUE(main.isMainThread());
  std::thread([&] { EXPECT_FALSE(main.isMainThread()); }).join();
}

TEST(SetUp, LooksForTheProductsProgramsWhereItSays) {
  EXPECT_EQ(setUp().systemInformation->zipToolPath(), "/opt/tidy/zip");
}

TEST(SetUp, SaysThatTheProductHasNoHelperWhereRightsAreAskedFor) {
  platform::AuthorizationServices& services = *setUp().authorizationServices;
  platform::AuthorizationRef session = nullptr;
  ASSERT_EQ(services.create({}, platform::kAuthorizationFlagDefaults, &session), platform::errAuthorizationSuccess);
  ::testing::internal::CaptureStderr();
  const auto status =
      services.copyRights(session, {{.name = "system.privilege.admin", .value = {}}}, {},
                          platform::kAuthorizationFlagInteractionAllowed | platform::kAuthorizationFlagExtendRights);
  const std::string said = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(status, platform::errAuthorizationToolEnvironmentError);
  EXPECT_NE(
      said.find("Administrator rights were not granted: /nonexistent (the product names no program for it): No such "
                "file or directory"),
      std::string::npos)
      << said;
  services.free(session, platform::kAuthorizationFlagDefaults);
}

/// Waits for the end of one copy.
class End : public FileOperationDelegate {
 public:
  bool respondsToSelector(const std::string& selector) const override { return selector == finished; }
  void perform(const std::string& /*selector*/, const FileOperationDictionary& /*report*/,
               const platform::FileOperationRef& /*fileOperation*/) override {
    isOnMainThread = platform::platform().mainThread->isMainThread();
    hasCome = true;
  }

  bool hasCome = false;
  bool isOnMainThread = false;
};

TEST(SetUp, ReportsACopyToWhoeverHandlesEvents) {
  const std::string folder = ::testing::TempDir() + "set-up-" + std::to_string(::getpid());
  fs::create_directories(folder);
  std::ofstream(folder + "/from") << "contents";
  platform::MainThread& main = *setUp().mainThread;
  const auto end = std::make_shared<End>();
  ASSERT_TRUE(QMFileManager::copyFileWithProgress(folder + "/from", folder + "/to", end, nullptr));
  while (!end->hasCome) main.handleOneEvent(std::chrono::seconds(60));
  EXPECT_TRUE(end->isOnMainThread);
  EXPECT_EQ(fs::file_size(folder + "/to"), 8U);
  fs::remove_all(folder);
}

}  // namespace
}  // namespace qm::testing

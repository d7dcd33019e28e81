// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "Platform/linux/system/SingleInstance.h"
#include "Uninstaller/Application.h"
#include "Uninstaller/Product.h"
#include "Uninstaller/qt/FrontEnd.h"

namespace qm::testing {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

void say(const char* line) { static_cast<void>(std::fprintf(stderr, "%s\n", line)); }

using Step = std::function<void(const uninstaller::Outlets&)>;

/// Performs the case's action once the interface is loaded.
class Owner : public uninstaller::InterfaceOwner {
 public:
  explicit Owner(Step step) : step_(std::move(step)) {}
  ~Owner() override { say("the owner is destroyed"); }
  void connect(const uninstaller::Outlets& outlets) override { outlets_ = outlets; }
  void awakeFromNib() override { step_(outlets_); }
  void uninstall(const platform::ActionSender* /*sender*/) override {}
  void cancel(const platform::ActionSender* /*sender*/) override {}

 private:
  Step step_;
  uninstaller::Outlets outlets_;
};

/// A product of this test's own, so that no other test is an instance of the same one.
platform::ProductIdentity ownProduct() {
  static const std::string identifier = "test." + std::to_string(::getpid());
  platform::ProductIdentity product = kProduct;
  product.identifier = identifier;
  return product;
}

/// Runs the application in a process of its own, as `main` does, until it exits.
[[noreturn]] void runApplication(const Step& step) {
  ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
  char name[] = "test";
  char* arguments[] = {name, nullptr};
  const int code =
      uninstaller::applicationMain(1, arguments, ownProduct(), [&] { return std::make_unique<Owner>(step); });
  say("the event loop has ended");
  std::exit(code);
}

class ApplicationMain : public ::testing::Test {
 protected:
  ApplicationMain() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

/// The output of such a process: neither the worker nor anything that it may use runs after the end.
auto endsOrderly() {
  return AllOf(HasSubstr("the event loop has ended\n"), Not(HasSubstr("the worker came back")),
               Not(HasSubstr("the owner is destroyed")));
}

void terminate() { qt::frontEnd().userInterface.terminate(nullptr); }

TEST_F(ApplicationMain, EndsWithoutRunningWhenItIsTerminatedWhileLoading) {
  EXPECT_EXIT(runApplication([](const uninstaller::Outlets& /*outlets*/) { terminate(); }),
              ::testing::ExitedWithCode(0), endsOrderly());
}

TEST_F(ApplicationMain, EndsWhileAWorkerIsStillInsideItsLastCall) {
  const Step step = [](const uninstaller::Outlets& outlets) {
    std::thread([outlets] {
      qt::frontEnd().mainThread.performAndWait([outlets] {
        outlets.windowMain->orderOut();
        terminate();
      });
      say("the worker came back");
    }).detach();
  };
  EXPECT_EXIT(runApplication(step), ::testing::ExitedWithCode(0), endsOrderly());
}

TEST_F(ApplicationMain, EndsWhileWorkersKeepAskingForWork) {
  const Step step = [](const uninstaller::Outlets& outlets) {
    for (int worker = 0; worker < 3; ++worker) {
      std::thread([check = outlets.removeConfigCheck] {
        while (check->state() == uninstaller::kOffState) qt::frontEnd().mainThread.performAndWait([] {});
      }).detach();
    }
    qt::frontEnd().mainThread.perform([] { qt::frontEnd().mainThread.perform(terminate); });
  };
  EXPECT_EXIT(runApplication(step), ::testing::ExitedWithCode(0), endsOrderly());
}

TEST_F(ApplicationMain, GoesOnWithoutAVisibleWindow) {
  const Step step = [](const uninstaller::Outlets& outlets) {
    auto& mainThread = qt::frontEnd().mainThread;
    mainThread.perform([&mainThread, outlets] {
      outlets.windowMain->orderOut();
      mainThread.perform([] {
        say("still there");
        terminate();
      });
    });
  };
  EXPECT_EXIT(runApplication(step), ::testing::ExitedWithCode(0), AllOf(HasSubstr("still there\n"), endsOrderly()));
}

/// Starts the application while another instance is running.
[[noreturn]] void startAgain(bool isAnswered) {
  linux_::SingleInstance other{std::string(ownProduct().identifier)};
  other.start({});
  if (!isAnswered) qt::frontEnd().patience = std::chrono::milliseconds(50);
  std::thread([&] {
    pollfd request{.fd = other.requests().get(), .events = POLLIN, .revents = 0};
    ::poll(&request, 1, -1);
    if (isAnswered) other.serve([] { say("the other shows itself"); });
  }).detach();
  runApplication([](const uninstaller::Outlets& /*outlets*/) { say("there is a second window"); });
}

TEST_F(ApplicationMain, EndsWithoutAWindowWhenAnotherInstanceShowsItself) {
  EXPECT_EXIT(startAgain(true), ::testing::ExitedWithCode(0),
              AllOf(HasSubstr("the other shows itself\n"), Not(HasSubstr("second window"))));
}

TEST_F(ApplicationMain, SaysSoWhenAnotherInstanceDoesNotAnswer) {
  EXPECT_EXIT(startAgain(false), ::testing::ExitedWithCode(1),
              AllOf(HasSubstr("tessaly-uninstaller: it is running already, and does not answer.\n"),
                    Not(HasSubstr("second window"))));
}

TEST_F(ApplicationMain, SaysSoWhenNoWindowCanBeOpened) {
  const auto start = [] {
    ::unsetenv("DISPLAY");
    ::unsetenv("WAYLAND_DISPLAY");
    ::setenv("QT_QPA_PLATFORM", "xcb", 1);
    char name[] = "test";
    char* arguments[] = {name, nullptr};
    std::exit(uninstaller::applicationMain(1, arguments, ownProduct(), [] { return std::unique_ptr<Owner>(); }));
  };
  EXPECT_EXIT(start(), ::testing::ExitedWithCode(1), "no window can be opened. Start it from a desktop session.\n$");
}

}  // namespace
}  // namespace qm::testing

// SPDX-License-Identifier: MIT
#include "tests/fakes/Calls.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/fakes/FakePlatform.h"

namespace {

using namespace qm::testing;
using Strings = std::vector<std::string>;

TEST(Calls, AreRecordedInOrderWithTheirArguments) {
  Calls calls;
  EXPECT_FALSE(calls.command("service.do", "/a", std::optional<std::string>(), Strings{"x", "y"}));
  EXPECT_FALSE(calls.question("service.ask", true));
  calls.note("service.notice");
  EXPECT_EQ(calls.log(), Strings{"service.do(/a, nil, x, y)"});
  EXPECT_EQ(calls.everything(), (Strings{"service.do(/a, nil, x, y)", "service.ask(YES)", "service.notice()"}));
  EXPECT_EQ(calls.count("service.ask"), 1U);
  EXPECT_EQ(calls.count("service.ask(NO)"), 0U);
  EXPECT_EQ(calls.indexOf("service.notice"), 2U);
  EXPECT_EQ(calls.indexOf("service.unheard"), std::nullopt);
  EXPECT_TRUE(calls.areInOrder({"service.do", "service.ask(YES)", "service.notice"}));
  EXPECT_FALSE(calls.areInOrder({"service.ask", "service.do"}));
  EXPECT_FALSE(calls.areInOrder({"service.do", "service.unheard"}));
  EXPECT_FALSE(calls.areInOrder({"service.unheard", "service.do"}));
}

TEST(Calls, FailOnceWhenToldForTheNext) {
  Calls calls;
  calls.failNext("service.do");
  EXPECT_FALSE(calls.command("service.other"));
  EXPECT_TRUE(calls.command("service.do"));
  EXPECT_FALSE(calls.command("service.do"));
}

TEST(Calls, FailAtTheNumberTold) {
  Calls calls;
  calls.failNth("service.do", 3);
  EXPECT_FALSE(calls.command("service.do", "/a"));
  EXPECT_FALSE(calls.command("service.do", "/b"));
  EXPECT_TRUE(calls.command("service.do", "/c"));
  EXPECT_FALSE(calls.command("service.do", "/d"));
}

TEST(Calls, FailForCertainArgumentsOnly) {
  Calls calls;
  calls.failAlways("service.do(/b)");
  EXPECT_FALSE(calls.command("service.do", "/a"));
  EXPECT_TRUE(calls.command("service.do", "/b"));
  EXPECT_TRUE(calls.command("service.do", "/b"));
  calls.stopFailing("service.do(/b)");
  EXPECT_FALSE(calls.command("service.do", "/b"));
}

TEST(Calls, FailByTheirPlaceAmongAll) {
  Calls calls;
  calls.failCallNumber(3);
  EXPECT_FALSE(calls.command("one.do"));
  calls.note("cannot.fail");
  EXPECT_FALSE(calls.question("two.ask"));
  EXPECT_TRUE(calls.command("three.do"));
  EXPECT_FALSE(calls.command("three.do"));
  EXPECT_EQ(calls.callCount(), 4U);
}

TEST(Calls, GiveTheFailureThatWasSet) {
  Calls calls;
  EXPECT_FALSE(calls.failure().ok());
  EXPECT_EQ(calls.failure().localizedDescription(), "The operation couldn’t be completed.");
  calls.setFailure(28, "No space left.");
  EXPECT_EQ(calls.failure().code(), 28);
  EXPECT_EQ(calls.failure().localizedDescription(), "No space left.");
}

TEST(Calls, HangUntilReleased) {
  Calls calls;
  calls.hang("service.do");
  std::thread caller([&] {
    calls.command("service.do");
    calls.command("service.after");
  });
  ASSERT_TRUE(calls.waitUntilHanging("service.do"));
  EXPECT_EQ(calls.count("service.after"), 0U);
  calls.release("service.do");
  caller.join();
  EXPECT_EQ(calls.count("service.after"), 1U);
}

TEST(Calls, RunAnActionBeforeTheNumberTold) {
  Calls calls;
  Strings seen;
  calls.before("service.do", 2, [&] { seen = calls.everything(); });
  calls.command("service.do", "1");
  EXPECT_TRUE(seen.empty());
  calls.command("service.do", "2");
  EXPECT_EQ(seen, (Strings{"service.do(1)", "service.do(2)"}));
  calls.command("service.do", "3");
  EXPECT_EQ(seen.size(), 2U);
}

TEST(Calls, ForgetWhatHasHappened) {
  Calls calls;
  calls.command("service.do");
  calls.clear();
  EXPECT_TRUE(calls.everything().empty());
  EXPECT_EQ(calls.callCount(), 0U);
}

/// An injected failure makes each operation return its failure and changes nothing.
class InjectedFailure : public ::testing::Test {
 protected:
  InjectedFailure() { fakes.disk.addFile("/tmp/file", "text"); }

  FakePlatform fakes;
};

TEST_F(InjectedFailure, IsTheFileSystemsNegativeAnswer) {
  auto& files = fakes.fileSystem;
  const Strings before = fakes.disk.tree();
  for (const char* name : {"fileExists", "isDirectory", "isExecutableFile", "contentsOfDirectory", "attributesOfItem",
                           "destinationOfSymbolicLink", "moveItem", "copyItem", "createDirectory", "removeItem",
                           "writeFileAtomically", "openForWriting"}) {
    fakes.calls.failAlways(std::string("fileSystem.") + name);
  }
  EXPECT_FALSE(files.fileExists("/tmp/file"));
  EXPECT_FALSE(files.isDirectory("/tmp"));
  EXPECT_FALSE(files.isExecutableFile("/bin/mv"));
  EXPECT_EQ(files.contentsOfDirectory("/tmp"), std::nullopt);
  EXPECT_FALSE(files.attributesOfItem("/tmp/file").has_value());
  EXPECT_EQ(files.destinationOfSymbolicLink("/tmp/file"), std::nullopt);
  EXPECT_FALSE(files.moveItem("/tmp/file", "/tmp/b").ok());
  EXPECT_FALSE(files.copyItem("/tmp/file", "/tmp/b").ok());
  EXPECT_FALSE(files.createDirectory("/tmp/b").ok());
  EXPECT_FALSE(files.removeItem("/tmp/file").ok());
  EXPECT_FALSE(files.writeFileAtomically("/tmp/b", "").ok());
  EXPECT_EQ(files.openForWriting("/tmp/file"), nullptr);
  EXPECT_EQ(fakes.disk.tree(), before);
  EXPECT_EQ(fakes.calls.callCount(), 12U);
}

TEST_F(InjectedFailure, IsAnOpenFilesNegativeAnswer) {
  const auto handle = fakes.fileSystem.openForWriting("/tmp/file");
  ASSERT_NE(handle, nullptr);
  fakes.calls.failNext("fileHandle.seekToEndOfFile");
  fakes.calls.failNext("fileHandle.writeData");
  EXPECT_FALSE(handle->seekToEndOfFile().ok());
  EXPECT_FALSE(handle->writeData("x").ok());
  EXPECT_EQ(fakes.disk.fileContents("/tmp/file"), "text");
}

TEST_F(InjectedFailure, IsTheOtherServicesNegativeAnswer) {
  for (const char* name : {"itemLocks.setImmutable", "itemLocks.isImmutable", "packages.isFilePackage", "trash.recycle",
                           "propertyLists.read", "standardDirectories.search", "systemInformation.executablePath",
                           "systemInformation.bundleVersion", "users.homeDirectoryForUser", "users.consoleUser",
                           "threads.detachNewThread"}) {
    fakes.calls.failAlways(name);
  }
  fakes.propertyLists.set("/list", {{"key", std::string("value")}});
  fakes.disk.addFolder("/tmp/A.app");
  EXPECT_FALSE(fakes.itemLocks.setImmutable("/tmp/file", true).ok());
  EXPECT_EQ(fakes.itemLocks.isImmutable("/tmp/file"), std::nullopt);
  EXPECT_FALSE(fakes.packages.isFilePackage("/tmp/A.app"));
  EXPECT_FALSE(fakes.trash.recycle("/tmp", "/home/u/.Trash", {"file"}).ok());
  EXPECT_TRUE(fakes.disk.has("/tmp/file"));
  EXPECT_FALSE(fakes.propertyLists.read("/list").has_value());
  EXPECT_TRUE(
      fakes.standardDirectories.search(qm::platform::StandardDirectory::Library, qm::platform::DomainMask::Local)
          .empty());
  EXPECT_EQ(fakes.systemInformation.executablePath(), std::nullopt);
  EXPECT_EQ(fakes.systemInformation.bundleVersion(), std::nullopt);
  EXPECT_EQ(fakes.users.homeDirectoryForUser("u"), std::nullopt);
  EXPECT_EQ(fakes.users.consoleUser(), std::nullopt);
  EXPECT_FALSE(fakes.threads.detachNewThread([] { FAIL(); }));
}

TEST_F(InjectedFailure, MakesACallWithoutAnAnswerDoNothing) {
  fakes.calls.failAlways("console.print");
  fakes.calls.failAlways("windowProgress.makeKeyAndOrderFront");
  fakes.calls.failAlways("userInterface.terminate");
  fakes.console.print("text");
  fakes.interface.windowProgress.makeKeyAndOrderFront();
  fakes.userInterface.terminate(nullptr);
  EXPECT_TRUE(fakes.console.lines().empty());
  EXPECT_FALSE(fakes.interface.windowProgress.isVisible());
  EXPECT_FALSE(fakes.userInterface.isTerminated());
}

TEST_F(InjectedFailure, RefusesAuthorization) {
  fakes.calls.failNext("authorization.create");
  qm::platform::AuthorizationRef session = nullptr;
  EXPECT_EQ(fakes.authorizationServices.create({}, 0, &session), qm::platform::errAuthorizationDenied);
  EXPECT_EQ(session, nullptr);
  EXPECT_EQ(fakes.authorizationServices.create({}, 0, &session), qm::platform::errAuthorizationSuccess);
}

}  // namespace

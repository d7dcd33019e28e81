// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Shared/QMFileManager.h"
#include "tests/support/PlatformTest.h"

namespace {

using namespace qm::testing;
using qm::SingletonReset;
using namespace std::chrono_literals;
using qm::platform::AuthorizationRef;
using qm::platform::CommunicationsPipe;
using qm::platform::DomainMask;
using qm::platform::StandardDirectory;
using Strings = std::vector<std::string>;

using Machine = PlatformTest;

TEST_F(Machine, IsInstalled) { EXPECT_EQ(qm::platform::platform().fileSystem, &fakes.fileSystem); }

TEST(ScopedPlatform, RestoresTheServicesBefore) {
  const qm::platform::Platform outer{};
  const qm::platform::Platform inner{};
  const ScopedPlatform first(outer);
  {
    const ScopedPlatform second(inner);
    EXPECT_EQ(&qm::platform::platform(), &inner);
  }
  EXPECT_EQ(&qm::platform::platform(), &outer);
}

TEST_F(Machine, BeginsEachTestWithoutSharedObjects) {
  QMLog* const log = QMLog::sharedController();
  log->setBytesWritten(7);
  QMAuthorization::sharedController(QMAuthorization::WithGUI::No);
  SingletonReset<QMLog>::reset();
  SingletonReset<QMAuthorization>::reset();
  EXPECT_EQ(QMLog::sharedController()->bytesWritten(), 0U);
  EXPECT_TRUE(QMAuthorization::sharedController(QMAuthorization::WithGUI::Yes)->hasGUI());
}

TEST_F(Machine, FinishesTheLogBeforeItIsTakenAway) {
  fakes.disk.addFile("/home/u/Library/Logs/Quillmark/Demo.1.log");
  fakes.calls.hang("fileHandle.writeData");
  QMLog::fastAppendLog("queued");
  ASSERT_TRUE(fakes.calls.waitUntilHanging("fileHandle.writeData"));
  auto reset = std::async(std::launch::async, [] { SingletonReset<QMLog>::reset(); });
  fakes.calls.release("fileHandle.writeData");
  reset.get();
  EXPECT_EQ(fakes.disk.fileContents("/home/u/Library/Logs/Quillmark/Demo.1.log"),
            "2024-02-29 23:05:07 +0000 - queued\n");
}

TEST_F(Machine, RecyclesIntoTheHomeTrash) {
  fakes.disk.addFile("/Applications/Über 100%.txt", "x");
  ASSERT_TRUE(fakes.trash.recycle("/Applications", "/home/u/.Trash", {"Über 100%.txt"}).ok());
  EXPECT_EQ(fakes.disk.fileContents("/home/u/.local/share/Trash/files/Über 100%.txt"), "x");
  EXPECT_EQ(fakes.disk.fileContents("/home/u/.local/share/Trash/info/Über 100%.txt.trashinfo"),
            "[Trash Info]\nPath=/Applications/%C3%9Cber%20100%25.txt\nDeletionDate=2024-02-29T23:05:07\n");
  EXPECT_EQ(fakes.disk.linkTarget("/home/u/.Trash"), ".local/share/Trash/files");
  EXPECT_EQ(fakes.calls.log(), Strings{"trash.recycle(/Applications, /home/u/.Trash, Über 100%.txt)"});
}

TEST_F(Machine, MakesTheUsersTrashLeadToTheHomeTrashWhenNothingIsThere) {
  fakes.disk.remove("/home/u/.Trash");
  fakes.disk.addFile("/tmp/a");
  ASSERT_TRUE(fakes.trash.recycle("/tmp", "/home/u/.Trash", {"a"}).ok());
  EXPECT_EQ(fakes.disk.linkTarget("/home/u/.Trash"), ".local/share/Trash/files");
}

TEST_F(Machine, CarriesTheRealClassesThroughAFailure) {
  fakes.disk.addFile("/Applications/Tessaly.app/Contents/Info.plist");
  fakes.calls.failNext("trash.recycle");
  EXPECT_TRUE(QMFileManager::trashFile("/Applications/Tessaly.app"));
  EXPECT_TRUE(fakes.disk.has("/home/u/.Trash/Tessaly.app"));
  EXPECT_FALSE(fakes.disk.has("/Applications/Tessaly.app"));
  EXPECT_TRUE(fakes.calls.areInOrder({"trash.recycle", "authorization.copyRights"}));
}

TEST_F(Machine, RenamesInTheTrashOnAClash) {
  for (const char* expected : {"notes.txt", "notes 2.txt", "notes 3.txt"}) {
    fakes.disk.addFile("/tmp/notes.txt", expected);
    ASSERT_TRUE(fakes.trash.recycle("/tmp", "/home/u/.Trash", {"notes.txt"}).ok());
    EXPECT_EQ(fakes.disk.fileContents(std::string("/home/u/.Trash/") + expected), expected);
    EXPECT_EQ(fakes.disk.fileContents(std::string("/home/u/.local/share/Trash/files/") + expected), expected);
  }
}

TEST_F(Machine, RecyclesWithinTheItemsVolume) {
  fakes.disk.addVolume("/Volumes/Disk");
  fakes.disk.addFile("/Volumes/Disk/d/file");
  ASSERT_TRUE(fakes.trash.recycle("/Volumes/Disk/d", "/home/u/.Trash", {"file"}).ok());
  EXPECT_TRUE(fakes.disk.has("/Volumes/Disk/.Trash-501/files/file"));
  EXPECT_EQ(fakes.disk.fileContents("/Volumes/Disk/.Trash-501/info/file.trashinfo"),
            "[Trash Info]\nPath=d/file\nDeletionDate=2024-02-29T23:05:07\n");
}

TEST_F(Machine, LeavesWhatCannotBeRecycled) {
  fakes.disk.addFile("/tmp/locked");
  fakes.disk.setLocked("/tmp/locked", true);
  fakes.disk.addFile("/tmp/after");
  EXPECT_EQ(fakes.trash.recycle("/tmp", "/home/u/.Trash", {"locked", "after"}).code(), EPERM);
  EXPECT_TRUE(fakes.disk.has("/tmp/locked"));
  EXPECT_TRUE(fakes.disk.has("/tmp/after"));
  EXPECT_EQ(fakes.disk.tree("/home/u/.local/share/Trash/info"), Strings{});
  EXPECT_FALSE(fakes.trash.recycle("/tmp", std::nullopt, {"after"}).ok());
  EXPECT_EQ(fakes.trash.recycle("/tmp", "/home/u/.Trash", {"missing"}).code(), ENOENT);
  EXPECT_EQ(fakes.trash.recycle("/tmp", "/home/u/.Trash", {"../tmp/after"}).code(), EINVAL);
}

TEST_F(Machine, ShortensANameForItsInformationFile) {
  const std::string name = std::string(250, 'n') + ".txt";
  fakes.disk.addFile("/tmp/" + name);
  ASSERT_TRUE(fakes.trash.recycle("/tmp", "/home/u/.Trash", {name}).ok());
  EXPECT_TRUE(fakes.disk.has("/home/u/.local/share/Trash/files/" + std::string(241, 'n') + ".txt"));
}

TEST_F(Machine, AnswersTheMacsFolders) {
  auto& directories = fakes.standardDirectories;
  EXPECT_EQ(directories.search(StandardDirectory::Library, DomainMask::User | DomainMask::Local | DomainMask::System),
            (Strings{"/home/u/Library", "/Library", "/System/Library"}));
  EXPECT_EQ(directories.search(StandardDirectory::Document, DomainMask::Local), Strings{});
  directories.set(StandardDirectory::Library, DomainMask::Local, {});
  EXPECT_EQ(directories.search(StandardDirectory::Library, DomainMask::Local), Strings{});
  fakes.actAsRoot("u");
  EXPECT_EQ(directories.search(StandardDirectory::Caches, DomainMask::User), Strings{"/var/root/Library/Caches"});
}

TEST_F(Machine, KnowsPackagesByNameAndContents) {
  fakes.disk.addFolder("/A.app");
  fakes.disk.addFile("/B/Contents/Info.plist");
  fakes.disk.addFile("/file.app");
  fakes.disk.addFolder("/plain");
  EXPECT_TRUE(fakes.packages.isFilePackage("/A.app"));
  EXPECT_TRUE(fakes.packages.isFilePackage("/B"));
  EXPECT_FALSE(fakes.packages.isFilePackage("/file.app"));
  EXPECT_FALSE(fakes.packages.isFilePackage("/plain"));
  fakes.packages.set("/plain", true);
  EXPECT_TRUE(fakes.packages.isFilePackage("/plain"));
}

TEST_F(Machine, RunsQueuedWorkWhenTheMainThreadPumps) {
  std::atomic<int> ran{0};
  std::thread worker([&] {
    fakes.mainThread.performAndWait([&] { ++ran; });
    fakes.mainThread.perform([&] { ++ran; });
  });
  EXPECT_TRUE(fakes.mainThread.pumpUntil([&] { return ran == 2; }));
  worker.join();
  EXPECT_TRUE(fakes.mainThread.isMainThread());
}

TEST_F(Machine, MovesTheClockWhenThereIsNoEvent) {
  fakes.mainThread.perform([] {});
  EXPECT_TRUE(fakes.mainThread.handleOneEvent(10ms));
  EXPECT_EQ(fakes.clock.elapsed(), 0s);
  EXPECT_FALSE(fakes.mainThread.handleOneEvent(10ms));
  EXPECT_EQ(fakes.clock.elapsed(), 10ms);
  EXPECT_EQ(fakes.calls.count("mainThread.handleOneEvent(10)"), 2U);
}

TEST_F(Machine, ServesTheMainThreadOnAThreadOfItsOwn) {
  fakes.mainThread.serveOnOwnThread();
  std::thread::id thread;
  fakes.mainThread.performAndWait([&] { thread = std::this_thread::get_id(); });
  EXPECT_NE(thread, std::this_thread::get_id());
  EXPECT_NE(thread, std::thread::id());
  EXPECT_FALSE(fakes.mainThread.isMainThread());
}

TEST_F(Machine, KeepsTheCallerWhoseWorkEndsTheApplication) {
  std::atomic<bool> returned{false};
  ASSERT_TRUE(fakes.threads.detachNewThread([&] {
    fakes.mainThread.performAndWait([&] { fakes.userInterface.terminate(nullptr); });
    returned = true;
  }));
  ASSERT_TRUE(fakes.mainThread.pumpUntil([&] { return fakes.userInterface.isTerminated(); }));
  EXPECT_FALSE(returned);
  fakes.mainThread.releaseWaiters();
  EXPECT_TRUE(fakes.threads.waitUntilAllEnded());
  EXPECT_TRUE(returned);
}

TEST_F(Machine, EndsWhateverIsLeftWaiting) {
  fakes.clock.setManual();
  std::atomic<int> ended{0};
  fakes.calls.hang("console.print");
  fakes.authorizationServices.keepOutputsOpen();
  for (const std::function<void()>& wait :
       std::vector<std::function<void()>>{[&] { fakes.clock.sleep(1h); }, [&] { fakes.console.print("x"); },
                                          [&] { fakes.mainThread.performAndWait([] { FAIL(); }); }}) {
    fakes.threads.detachNewThread([&ended, wait] {
      wait();
      ++ended;
    });
  }
  ASSERT_TRUE(fakes.clock.waitForSleepers(1));
  ASSERT_TRUE(fakes.calls.waitUntilHanging("console.print"));
  fakes.end();
  EXPECT_EQ(ended, 3);
}

TEST_F(Machine, KeepsBodiesOfThreadsForTheTestToRun) {
  int ran = 0;
  fakes.threads.keepBodies();
  fakes.threads.detachNewThread([&] { ++ran; });
  EXPECT_EQ(ran, 0);
  EXPECT_EQ(fakes.threads.runKept(), 1U);
  EXPECT_EQ(ran, 1);
}

TEST_F(Machine, NotesCallsOfTheInterfaceOffTheMainThread) {
  fakes.interface.windowMain.orderOut();
  std::thread([&] { fakes.interface.progressBar.startAnimation(); }).join();
  EXPECT_FALSE(fakes.interface.windowMain.isVisible());
  EXPECT_TRUE(fakes.interface.progressBar.isAnimated());
  EXPECT_EQ(fakes.interface.record.offMainThread(), Strings{"progressBar.startAnimation"});
  EXPECT_EQ(fakes.calls.log(), (Strings{"windowMain.orderOut()", "progressBar.startAnimation()"}));
}

TEST_F(Machine, GrantsRightsAndRunsToolsWithThem) {
  auto& services = fakes.authorizationServices;
  fakes.disk.addFile("/tmp/a");
  AuthorizationRef session = nullptr;
  std::shared_ptr<CommunicationsPipe> pipe;
  ASSERT_EQ(services.create({}, 0, &session), 0);
  ASSERT_EQ(services.copyRights(session, {{"system.privilege.admin", "", 0}}, {}, 19), 0);
  services.setOutput("/bin/mv", "ok");
  ASSERT_EQ(services.executeWithPrivileges(session, "/bin/mv", 0, {"-f", "/tmp/a", "/tmp/b"}, &pipe), 0);
  EXPECT_TRUE(fakes.disk.has("/tmp/b"));
  EXPECT_EQ(services.executions(), (std::vector<Strings>{{"/bin/mv", "-f", "/tmp/a", "/tmp/b"}}));
  EXPECT_EQ(services.calls("copyRights").at(0).flags, 19U);
  EXPECT_EQ(pipe->readCharacter(), 'o');
  EXPECT_EQ(pipe->readCharacter(), 'k');
  EXPECT_EQ(pipe->readCharacter(), -1);
  EXPECT_EQ(services.pipesReadToEnd(), 1U);
  EXPECT_EQ(services.openPipes(), 1U);
  pipe.reset();
  EXPECT_EQ(services.openPipes(), 0U);
  EXPECT_EQ(services.free(session, 0), 0);
  EXPECT_EQ(services.openSessions(), 0U);
  EXPECT_EQ(services.free(session, 0), qm::platform::errAuthorizationInvalidRef);
}

TEST_F(Machine, AnswersAuthorizationAsTold) {
  auto& services = fakes.authorizationServices;
  AuthorizationRef session = nullptr;
  ASSERT_EQ(services.copyPrivilegedReference(&session, 0), 0);
  EXPECT_EQ(session, nullptr);
  const AuthorizationRef parents = services.offerParentSession();
  ASSERT_EQ(services.copyPrivilegedReference(&session, 0), 0);
  EXPECT_EQ(session, parents);
  services.answerNext("copyRights", qm::platform::errAuthorizationCanceled);
  EXPECT_EQ(services.copyRights(session, {}, {}, 0), qm::platform::errAuthorizationCanceled);
  EXPECT_EQ(services.copyRights(session, {}, {}, 0), 0);
  services.answerAlways("create", qm::platform::errAuthorizationDenied);
  AuthorizationRef other = nullptr;
  EXPECT_EQ(services.create({}, 0, &other), qm::platform::errAuthorizationDenied);
  EXPECT_EQ(services.create({}, 0, &other), qm::platform::errAuthorizationDenied);
}

TEST_F(Machine, KeepsAToolsOutputOpenUntilTold) {
  auto& services = fakes.authorizationServices;
  AuthorizationRef session = services.offerParentSession();
  std::shared_ptr<CommunicationsPipe> pipe;
  services.keepOutputsOpen();
  ASSERT_EQ(services.executeWithPrivileges(session, "/bin/rm", 0, {}, &pipe), 0);
  auto reading = std::async(std::launch::async, [&] { return pipe->readCharacter(); });
  EXPECT_EQ(services.pipesReadToEnd(), 0U);
  services.closeOutputs();
  EXPECT_EQ(reading.get(), -1);
}

}  // namespace

// SPDX-License-Identifier: MIT
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "Shared/QMLog.h"
#include "tests/support/PlatformTest.h"

namespace qm::testing {

/// Where the fake program's log is for the fake user.
inline const std::string kLogFolder = "/home/u/Library/Logs/Quillmark";
/// Where root's current file is.
inline const std::string kRootLogFolder = "/Library/Logs/Quillmark";

inline std::string logFile(int number, const std::string& folder = kLogFolder) {
  return folder + "/Demo." + std::to_string(number) + ".log";
}

/// The header of a log that the fake machine begins.
inline const std::string kHeader =
    "Log started: 2024-02-29 23:05:07 +0000\n"
    "Version: 1.2.3\n"
    "Path: /Applications/Demo.app/Contents/MacOS/Demo\n"
    "System: OS X Version 12.0 (Fake), 2 CPU(s), 8.00 GB RAM\n"
    "Running in " +
    std::string(sizeof(void*) == 8 ? "64" : "32") + "-bit mode\n";

/// The text that the fake clock's date puts before a message.
inline const std::string kDated = "2024-02-29 23:05:07 +0000 - ";

/// The line of a message.
inline std::string lineOf(const std::string& message) { return kDated + message + "\n"; }

/// The preferences of the fake user that may switch logging off.
inline const std::string kSwitchFile = "/home/u/Library/Preferences/com.quillmark.global.plist";

/// Longer than anything here takes.
inline constexpr std::chrono::seconds kLong{30};

/// A log on a fake machine, in a process that has not logged yet.
class LogTest : public PlatformTest {
 protected:
  /// A current file that somebody has begun.
  void addLogFile(const std::string& contents = "old line\n") { fakes.disk.addFile(logFile(1), contents); }

  std::optional<std::string> contents(int number) { return fakes.disk.fileContents(logFile(number)); }
  std::vector<std::string> printed() const { return fakes.console.lines(); }
  static QMLog& log() { return *QMLog::sharedController(); }
};

/// The same with control over the writing thread.
class LogQueue : public LogTest {
 protected:
  /// The lines after what was in the file at first.
  std::string written() { return contents(1).value_or("old line\nno file").substr(std::string("old line\n").size()); }

  /// What `action` makes of a file, once everything is written.
  std::string writtenBy(const std::function<void()>& action) {
    addLogFile();
    log().setFileHandle(nullptr);
    action();
    QMLog::finishWriting();
    return written();
  }

  /// Stops the writing thread at the next line, until `release`.
  void hold() {
    fakes.calls.hang("fileHandle.writeData");
    QMLog::fastAppendLog("held");
    ASSERT_TRUE(fakes.calls.waitUntilHanging("fileHandle.writeData"));
  }
  void release() {
    fakes.calls.release("fileHandle.writeData");
    QMLog::finishWriting();
  }

  /// `append` returns only after its message is written.
  void expectToWait(const std::function<void()>& append) {
    std::future<void> call = callWhileHeld(append);
    EXPECT_EQ(call.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    finish(call);
  }

  /// `append` returns while its message is not written.
  void expectToGoOn(const std::function<void()>& append) {
    std::future<void> call = callWhileHeld(append);
    EXPECT_EQ(call.wait_for(kLong), std::future_status::ready);
    finish(call);
  }

  /// A file, on a volume with room for this many more bytes.
  void fillTheVolumeBehind(std::uint64_t bytes) {
    addLogFile();
    std::uint64_t used = 0;
    for (const std::string& path : fakes.disk.tree()) used += fakes.disk.fileContents(path).value_or("").size();
    fakes.disk.setVolumeKind("/", {.capacity = used + bytes});
  }

 private:
  std::future<void> callWhileHeld(const std::function<void()>& append) {
    fakes.calls.hang("fileHandle.writeData");
    std::future<void> call = std::async(std::launch::async, append);
    EXPECT_TRUE(fakes.calls.waitUntilHanging("fileHandle.writeData"));
    return call;
  }
  void finish(const std::future<void>& call) {
    fakes.calls.release("fileHandle.writeData");
    call.wait();
    QMLog::finishWriting();
  }
};

/// The same with old files and the switch.
class LogFiles : public LogTest {
 protected:
  /// Files with their own numbers as their contents.
  void addFiles(std::initializer_list<int> numbers, const std::string& folder = kLogFolder) {
    for (const int number : numbers) fakes.disk.addFile(logFile(number, folder), "old " + std::to_string(number));
  }
  void switchWith(const platform::PropertyListValue& value, const std::string& file = kSwitchFile) {
    fakes.propertyLists.set(file, platform::PropertyList{{"disable-logging", value}});
  }
  std::vector<std::string> names() { return fakes.disk.tree(kLogFolder); }
  static std::string moveOf(int number) {
    return "fileSystem.moveItem(" + logFile(number) + ", " + logFile(number + 1) + ")";
  }
  static std::string linkOf(int number) {
    return "fileSystem.linkItem(" + logFile(number) + ", " + logFile(number + 1) + ")";
  }
  static std::string moveFailure(int number) {
    return "Unable to move file " + logFile(number) + " to " + logFile(number + 1);
  }
};

}  // namespace qm::testing

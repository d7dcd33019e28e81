#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

/// What the fake clock's date puts before a message.
inline const std::string kDated = "2024-02-29 23:05:07 +0000 - ";

/// The line of a message.
inline std::string lineOf(const std::string& message) { return kDated + message + "\n"; }

/// A log on a fake machine, in a process that has not logged yet.
class LogTest : public PlatformTest {
 protected:
  /// A current file that somebody has begun.
  void addLogFile(const std::string& contents = "old line\n") { fakes.disk.addFile(logFile(1), contents); }

  std::optional<std::string> contents(int number) { return fakes.disk.fileContents(logFile(number)); }
  std::vector<std::string> printed() const { return fakes.console.lines(); }
  static QMLog& log() { return *QMLog::sharedController(); }
};

}  // namespace qm::testing

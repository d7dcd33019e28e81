// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <functional>
#include <map>
#include <string>
#include <system_error>
#include <vector>

#include "Platform/Status.h"
#include "Platform/linux/archives/Packing.h"
#include "Platform/linux/archives/Unpacking.h"

namespace qm::testing {

/// How a program ended, and everything that it printed.
struct ProgramRun {
  int status = -1;  ///< of the exit, or 128 plus the signal
  std::string output;
};

/// Runs a program, found in PATH, to its end.
ProgramRun runProgram(const std::vector<std::string>& command);

/// The same for a program that gets a signal as soon as it has created something unfinished in `folder`.
ProgramRun runAndEnd(const std::vector<std::string>& command, const std::string& folder,
                     const std::string& signal = "TERM");

/// The zip tool of this build.
std::string zipTool();
ProgramRun runZipTool(const std::vector<std::string>& arguments);

void writeFile(const std::string& path, const std::string& contents);
std::string contentsOf(const std::string& path);
struct stat attributesOf(const std::string& path);
bool isThere(const std::string& path);
/// Includes what its owner may not read.
std::error_code removeTree(const std::string& folder);
void setModified(const std::string& path, time_t seconds);

/// Everything below a folder: the type of each item, its permissions, its contents or target, and the time of files.
std::map<std::string, std::string> snapshot(const std::string& folder);

/// A test in a scratch folder of its own. "outside" must stay unchanged.
class ArchiveTest : public ::testing::Test {
 protected:
  ArchiveTest();
  ~ArchiveTest() override;

  std::string path(const std::string& name) const { return folder_ + "/" + name; }
  /// Creates the parent folders as well. Returns the path.
  std::string makeFile(const std::string& name, const std::string& contents = "contents") const;
  std::string makeFolder(const std::string& name, mode_t mode = 0755) const;
  std::string makeLink(const std::string& name, const std::string& target) const;

  platform::Status pack(const std::string& item, const std::string& archive,
                        linux_::KeepParent keepParent = linux_::KeepParent::Yes);
  platform::Status unpack(const std::string& archive, const std::string& folder);

  std::vector<std::string> leftOut;
  /// Whether the run is cancelled; called each time the run asks.
  std::function<bool()> isStopped = [] { return false; };

 private:
  linux_::ArchiveRun run();

  std::string folder_;
};

}  // namespace qm::testing

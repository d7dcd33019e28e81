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

/// How a program ended, and all that it printed.
struct ProgramRun {
  int status = -1;  ///< of the exit, or 128 and the signal
  std::string output;
};

/// Runs a program, found on the search path, to its end.
ProgramRun runProgram(const std::vector<std::string>& command);

/// The same for one that is asked to end by a signal as soon as there is something unfinished of its making in
/// `folder`.
ProgramRun runAndEnd(const std::vector<std::string>& command, const std::string& folder,
                     const std::string& signal = "TERM");

/// The zip tool of this build.
std::string zipTool();
ProgramRun runZipTool(const std::vector<std::string>& arguments);

void writeFile(const std::string& path, const std::string& contents);
std::string contentsOf(const std::string& path);
struct stat attributesOf(const std::string& path);
bool isThere(const std::string& path);
/// Also what its owner may not look into.
std::error_code removeTree(const std::string& folder);
void setModified(const std::string& path, time_t seconds);

/// All below a folder: what each item is, its permissions, its contents or target, and the time of files.
std::map<std::string, std::string> snapshot(const std::string& folder);

/// A test in a scratch folder of its own. "outside" is there to be left alone.
class ArchiveTest : public ::testing::Test {
 protected:
  ArchiveTest();
  ~ArchiveTest() override;

  std::string path(const std::string& name) const { return folder_ + "/" + name; }
  /// Makes the folders above as well. Answers the path.
  std::string makeFile(const std::string& name, const std::string& contents = "contents") const;
  std::string makeFolder(const std::string& name, mode_t mode = 0755) const;
  std::string makeLink(const std::string& name, const std::string& target) const;

  platform::Status pack(const std::string& item, const std::string& archive,
                        linux_::KeepParent keepParent = linux_::KeepParent::Yes);
  platform::Status unpack(const std::string& archive, const std::string& folder);

  std::vector<std::string> leftOut;
  /// Whether the run is stopped, asked each time.
  std::function<bool()> isStopped = [] { return false; };

 private:
  linux_::ArchiveRun run();

  std::string folder_;
};

}  // namespace qm::testing

#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/posix/UniqueFd.h"
#include "Uninstaller/remove/RememberedRun.h"

namespace qm::removal {

/// What the caller's last run has moved, in a file that nobody but the caller can change. What it holds at any moment
/// is what a process that is ended then has done, but for the item that was on its way. One run at a time.
class RunMemory {
 public:
  /// In this folder, which is made when something is to be remembered. One that others can change is not believed, nor
  /// is such a file in it.
  RunMemory(uid_t user, std::string folder);
  /// The folder of a caller: in /var/lib for root; for others in `stateHome` or, without one, in .local/state of their
  /// home.
  static std::string folderFor(uid_t user, const std::optional<std::string>& stateHome, const std::string& home);

  /// All that is remembered, oldest first. Returns 0 or an error number; EPERM where others could have changed it.
  int read(std::vector<RememberedRun>& runs) const;

  /// Remembers what a run is about to do. What the last run that changed something has done stays until this one has.
  /// On the disk when it returns 0; else an error number.
  int begin(const RememberedRun& run);
  /// Opens it to note what comes back. Returns 0 or an error number.
  int resume();

  /// Notes what is done. A failure has no bearing on the run: what is not noted is looked for in the Trash.
  void add(const std::string& line) const;
  /// What has been noted is on the disk afterwards.
  void flush() const;
  /// Nothing is remembered any more.
  void forget();

 private:
  int openFolder(posix::UniqueFd& folder) const;

  const uid_t user_;
  const std::string path_;
  posix::UniqueFd file_;
};

}  // namespace qm::removal

// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/posix/UniqueFd.h"
#include "Uninstaller/remove/RunRecord.h"

namespace qm::removal {

/// The record of the caller's last runs, in a file that nobody but the caller can change. Each move is added as soon as
/// it is done, so only the move in progress can be missing. One run at a time.
class RunRecordFile {
 public:
  /// The record in this folder, which is created when something is to be recorded. A folder that others can change is
  /// not trusted, nor is such a file in it.
  RunRecordFile(uid_t user, std::string folder);
  /// The folder of a caller: in /var/lib for root; for others in `stateHome` or, without one, in .local/state in their
  /// home.
  static std::string folderFor(uid_t user, const std::optional<std::string>& stateHome, const std::string& home);

  /// All recorded runs, oldest first. Returns 0 or an error number; EPERM if others could have changed the record.
  int read(std::vector<RunRecord>& runs) const;

  /// Records what a run is about to do. The record of the last run that changed something stays until this run has
  /// changed something, too. If it returns 0 the record is on the disk; otherwise it returns an error number.
  int begin(const RunRecord& run);
  /// Opens the record to add what is put back. Returns 0 or an error number.
  int resume();

  /// Records what was done. A failure does not affect the run: what is not recorded is looked up in the Trash.
  void add(const std::string& line) const;
  /// Flushes what was recorded to the disk.
  void flush() const;
  /// Deletes the record.
  void forget();

 private:
  int openFolder(posix::UniqueFd& folder) const;

  const uid_t user_;
  const std::string path_;
  posix::UniqueFd file_;
};

}  // namespace qm::removal

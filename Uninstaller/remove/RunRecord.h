// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qm::removal {

/// An item that a run was to move to a Trash.
struct RememberedItem {
  std::optional<std::string> user;  ///< its user; null for the computer's
  std::string path;                 ///< its original path
  std::string trashOf;              ///< the user to whose Trash it was to go
  uid_t trashOwner = 0;             ///< that user's id
  bool went = false;                ///< it is known to have been moved
  std::string trashedTo;            ///< where in the Trash it is; "" if that is not known
  bool isBack = false;              ///< it has been put back
};

/// The maker's folder, as it was before a run that was to remove it.
struct RememberedFolder {
  std::string path;
  uid_t owner = 0;
  gid_t group = 0;
  mode_t mode = 0;
  timespec changed{};  ///< when it was last changed
};

/// The record of a run, for putting things back.
struct RunRecord {
  std::string began;  ///< in local time: "2024-02-29T23:05:07"
  std::vector<RememberedItem> items;
  std::optional<RememberedFolder> folder;
  bool folderWent = false;

  /// Whether it has moved or removed something.
  bool hasChanged() const;
};

/// The lines at the beginning of a run's record, and those that are added during the run. Each ends with a newline.
std::string textOf(const RunRecord& run);
std::string wentLine(std::size_t index, const std::string& trashedTo);
std::string folderWentLine();
std::string backLine(std::size_t index);

/// The runs in a text, oldest first. A line that breaks the rules is ignored, and so is an incomplete last one.
std::vector<RunRecord> parsedRuns(std::string_view text);

}  // namespace qm::removal

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
  std::optional<std::string> user;  ///< whose it was; null for the computer's
  std::string path;                 ///< where it was
  std::string trashOf;              ///< whose Trash it was to go to
  uid_t trashOwner = 0;             ///< that person's number
  bool went = false;                ///< it is known to have gone
  std::string trashedTo;            ///< where in the Trash it went; "" where that is not known
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

/// A run as it is remembered for the way back.
struct RememberedRun {
  std::string began;  ///< in local time: "2024-02-29T23:05:07"
  std::vector<RememberedItem> items;
  std::optional<RememberedFolder> folder;
  bool folderWent = false;

  /// It has moved or removed something.
  bool hasChanged() const;
};

/// The lines that a run begins with, and those that are added while it goes on. Each ends its line.
std::string textOf(const RememberedRun& run);
std::string wentLine(std::size_t index, const std::string& trashedTo);
std::string folderWentLine();
std::string backLine(std::size_t index);

/// The runs of a text, oldest first. A line that breaks the rules, and a last one that was cut off, count for nothing.
std::vector<RememberedRun> parsedRuns(std::string_view text);

}  // namespace qm::removal

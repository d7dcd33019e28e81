// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Platform/Status.h"
#include "Platform/macos/SystemCalls.h"

/// The parts of the Trash: the notes of its items, and the words for a failure.
namespace qm::macos {

/// What is recorded about an item in the Trash, in an attribute of the item itself. The Finder has records of its own,
/// but programs cannot read or write them.
struct TrashNote {
  std::string origin;        ///< the item's old path: absolute, without links on the way
  std::string deletionDate;  ///< when it was moved to the Trash, in local time: "2024-02-29T23:05:07"
};

std::string noteText(const TrashNote& note);
/// Parses the text of a note; null if it breaks the rules. The text is not trusted, because the item's owner can change
/// it.
std::optional<TrashNote> parsedNote(std::string_view text);

/// What is known about an item that could not be moved.
struct RefusedItem {
  std::string path;
  std::optional<unsigned> flags;        ///< of the item itself (st_flags); null if they cannot be read
  std::optional<unsigned> folderFlags;  ///< of the folder that it is in
  int obstacle = 0;  ///< the error if permissions, a sticky folder or an access list forbid the move; else 0
};

/// Names the protection of the system that keeps an item although its permissions allow the move, and what can be done
/// about it, in one or two sentences. "" if permissions, a lock or something else is the reason, or may be.
std::string systemRefusal(int error, const RefusedItem& item);

/// Examines the item at a path. A link is not followed.
RefusedItem refusedItemAt(const std::string& path);

/// The error number that an error of the frameworks stands for.
int errorNumberOf(const TrashAnswer& answer);

/// The failure of a move to the Trash or back from it, if a system call failed. If a protection of the system keeps the
/// item, the sentence names it.
platform::Status trashFailure(int error, const std::string& path);
platform::Status trashFailure(const TrashAnswer& answer, const std::string& path);

/// The same if it was the Trash that could not be used.
platform::Status trashFolderFailure(int error, const std::string& path, const std::string& trash);

/// The same if no system call failed, but this program itself refused the move.
platform::Status trashRefusal(int error, const std::string& reason, const std::string& path);

}  // namespace qm::macos

// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include "Platform/posix/CopyObserver.h"
#include "Platform/posix/FileContents.h"
#include "Platform/posix/ItemName.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::posix {

/// The result of copying one item.
struct ItemCopyResult {
  int error = 0;
  bool vanished = false;  ///< the source no longer existed
  /// The created item, complete or not, opened by `openItself`. Set only if others may replace it
  /// (`InheritedAccess::Possible`). Empty if nothing was created, or if it is not certain that the item that has the
  /// name is this process's own.
  UniqueFd made{};
};

/// Whether items created in the folder of the copy may inherit access lists from it. If not, this process created the
/// folder, and nobody else has rights in it.
enum class InheritedAccess : bool { None, Possible };

/// A regular file to be copied, open for reading.
struct SourceFile {
  UniqueFd file;
  struct stat attributes {};
};

/// Opens a regular file without blocking. Returns 0 or an error number, ESTALE for anything else.
int openSourceFile(ItemName from, SourceFile& source);

/// Copies items other than folders, with owner, mode, times, extended attributes and flags as far as they may be set.
/// If the folder is accessible to others, the caller renames the item in the end and sets its flags after that.
/// Replaces nothing.
class ItemCopier {
 public:
  explicit ItemCopier(CopyObserver& observer) : contents_(observer) {}

  ItemCopyResult copyFile(const SourceFile& source, ItemName to, InheritedAccess inherited);
  /// A link is copied as a link; a FIFO, a socket or a device is created, not opened. `attributes` are those of the
  /// source. ESTALE if somebody replaced the copy before it was complete.
  static ItemCopyResult copyOther(ItemName from, ItemName to, const struct stat& attributes, InheritedAccess inherited);

 private:
  struct NewFile {
    UniqueFd file;
    bool isComplete = false;  ///< it already has its contents
  };

  int makeFile(const SourceFile& source, ItemName to, InheritedAccess inherited, NewFile& copy);
  int fill(const SourceFile& source, const NewFile& copy);

  ContentsCopier contents_;
};

/// The process may not set an attribute, or the file system (of a memory card, for example) does not support it.
bool cannotBeKept(int error);

/// Gives an open file or folder the owner, mode, times and extended attributes of another. The set-id bits are kept
/// only together with the owner. The caller sets the flags later. Returns 0 or an error number.
int copyAttributes(int from, int to, const struct stat& attributes);

/// Gives an item the flags of another, as far as they may be set. Call this last: the item may be unchangeable
/// afterwards. Returns 0 or an error number.
int copyFlags(int to, const struct stat& attributes);

}  // namespace qm::posix

#pragma once

#include <sys/stat.h>

#include "Platform/posix/CopyObserver.h"
#include "Platform/posix/FileContents.h"
#include "Platform/posix/ItemName.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::posix {

/// How the copying of one item ended.
struct ItemCopyResult {
  int error = 0;
  bool vanished = false;  ///< the source was not there any more
  /// What was made, complete or not, as `openItself` opens it; only where others may put something in its place
  /// (`InheritedAccess::Possible`). None when nothing was made, or what has the name is not known to be the own.
  UniqueFd made{};
};

/// Whether the folder of the copy may hand its own access lists on to what is made in it. One that does not was made
/// by this process, for itself alone.
enum class InheritedAccess : bool { None, Possible };

/// A regular file to be copied, open for reading.
struct SourceFile {
  UniqueFd file;
  struct stat attributes {};
};

/// Opens a regular file without waiting for anything. Answers 0 or an error number, ESTALE for anything else.
int openSourceFile(ItemName from, SourceFile& source);

/// Copies items that are no folders, with owner, mode, times, extended attributes and flags as far as they may be
/// set. Where its folder is not this process's alone, an item gets another name in the end, and its flags after that,
/// from the caller. Replaces nothing.
class ItemCopier {
 public:
  explicit ItemCopier(CopyObserver& observer) : contents_(observer) {}

  ItemCopyResult copyFile(const SourceFile& source, ItemName to, InheritedAccess inherited);
  /// A link as a link; a FIFO, a socket or a device is made anew, not opened. `attributes` are those of
  /// the source. ESTALE when somebody put something else in its place before it was complete.
  static ItemCopyResult copyOther(ItemName from, ItemName to, const struct stat& attributes, InheritedAccess inherited);

 private:
  struct NewFile {
    UniqueFd file;
    bool isComplete = false;  ///< it has its contents already
  };

  int makeFile(const SourceFile& source, ItemName to, InheritedAccess inherited, NewFile& copy);
  int fill(const SourceFile& source, const NewFile& copy);

  ContentsCopier contents_;
};

/// The process may not set an attribute, or the file system (of a memory card, for example) has no such thing.
bool cannotBeKept(int error);

/// Gives an open file or folder the owner, mode, times and extended attributes of another. The bits that
/// lend the owner's rights are kept only with the owner. Its flags come later. Answers 0 or an error number.
int copyAttributes(int from, int to, const struct stat& attributes);

/// Gives an item the flags of another, as far as they may be set. The last that is done to it. Answers 0 or an error
/// number.
int copyFlags(int to, const struct stat& attributes);

}  // namespace qm::posix

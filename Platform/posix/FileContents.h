// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <memory>
#include <optional>

#include "Platform/posix/CopyObserver.h"
#include "Platform/posix/ItemName.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::posix {

/// Writes all bytes at the current position. Returns 0 or an error number.
int writeAll(int file, const char* bytes, std::size_t count);

/// Copies the contents of files, one after the other. If a volume does not support a method, that method is not tried
/// again for the next file of this volume.
class ContentsCopier {
 public:
  explicit ContentsCopier(CopyObserver& observer) : observer_(observer) {}

  /// Copies the contents of a regular file into a new, empty one. If the file system supports that, both share the
  /// contents. Otherwise the kernel copies them, or they are read and written in blocks. Holes stay holes. `attributes`
  /// are the source's. Data appended to the source meanwhile is not copied; if the source is truncated meanwhile, so is
  /// the copy. Returns 0 or an error number, which is the observer's if the observer ends the copy.
  int copy(int from, int to, const struct stat& attributes);

  /// Creates the new file together with its contents (see `makeClone` in SystemFileCalls.h), if the system supports
  /// that. Returns false if nothing was created. Does not notify the observer.
  bool makeClone(int from, ItemName to, const struct stat& attributes, UniqueFd& clone);
  /// Notifies the observer of a file that already has its contents. Returns the observer's error number.
  int reportWhole(const struct stat& attributes);

 private:
  struct Range;
  using Volume = std::optional<dev_t>;

  bool share(int from, int to, const struct stat& attributes);
  int copyWithHoles(int from, int to, off_t size);
  int endWithHole(int from, int to, Range hole);
  int copyData(int from, int to, Range range);
  int copyInKernel(int from, int to, Range& range);
  int copyByBlocks(int from, int to, Range& range);

  CopyObserver& observer_;
  std::unique_ptr<char[]> block_;
  bool reserves_ = true;  ///< the copy's volume can reserve space
  bool cutOff_ = false;   ///< the source ended before the end of the range copied last
  Volume unshareable_;    ///< its files cannot be shared with the copy
  Volume uncloneable_;    ///< its files cannot be cloned
};

}  // namespace qm::posix

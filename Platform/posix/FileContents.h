#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <memory>
#include <optional>

#include "Platform/posix/CopyObserver.h"
#include "Platform/posix/ItemName.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::posix {

/// Writes all bytes at the current position. Answers 0 or an error number.
int writeAll(int file, const char* bytes, std::size_t count);

/// Copies the contents of files, one after the other. What worked for one is tried first for the next.
class ContentsCopier {
 public:
  explicit ContentsCopier(CopyObserver& observer) : observer_(observer) {}

  /// Copies the contents of a regular file into a new, empty one: shared where the file system can do
  /// that, else by the kernel, else in blocks; holes stay holes. `attributes` are the source's: what is
  /// added to it meanwhile is not copied, and when it is cut off meanwhile, so is the copy. Answers 0 or
  /// an error number, the observer's when that ends it.
  int copy(int from, int to, const struct stat& attributes);

  /// Makes the new file and gives it all contents at once (see `makeClone` of the system's calls), where that can be
  /// done. False when nothing was made. Nothing is told to the observer.
  bool makeClone(int from, ItemName to, const struct stat& attributes, UniqueFd& clone);
  /// Tells the observer of a file that has its contents already. Answers the observer's error number.
  int tellShared(const struct stat& attributes);

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
  bool reserves_ = true;  ///< the copy's volume can set space aside
  bool cutOff_ = false;   ///< the source ended before the data that was copied last
  Volume unshareable_;    ///< whose files cannot be shared with the copy
  Volume uncloneable_;    ///< whose files cannot be shared while the copy is made
};

}  // namespace qm::posix

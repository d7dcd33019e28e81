// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Status.h"
#include "Platform/linux/archives/UnpackedFolders.h"
#include "Platform/linux/archives/ZipReader.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// The folder that an archive is unpacked into. Every item is reached from it one component at a time and by
/// descriptor. No link on the way is ever followed, whether the archive created it, it was there before, or somebody
/// plants it meanwhile. So nothing outside is created, changed or replaced.
///
/// Existing items stay if the archive has nothing of that name; folders are merged, and a file or link is replaced by a
/// file or link. A folder never replaces anything else, nor the reverse.
class ExtractionFolder {
 public:
  explicit ExtractionFolder(posix::UniqueFd root) : root_(std::move(root)) {}

  /// Creates one item, and the folders on the way to it. `reader` supplies the contents of a file.
  platform::Status add(const ZipEntry& entry, ZipReader& reader, const std::function<bool()>& isStopped);
  /// Sets permissions and times of the folders. That is done last, because permissions could keep items out, and adding
  /// items changes the times. Until then new folders are accessible to their owner alone. Call it even after a failure
  /// to add an item. Existing folders of other users are not changed. Continues past failures and returns the first.
  platform::Status finish();

  int descriptor() const { return root_.get(); }

 private:
  using Path = std::vector<std::string>;

  int goTo(Path path);
  std::size_t goToTop();
  int step(const std::string& name);
  int here() const { return here_ ? here_.get() : root_.get(); }
  int addFolder(const Path& path, const ZipEntry& entry);
  int addLink(const std::string& name, const ZipEntry& entry);
  platform::Status addFile(const std::string& name, const ZipEntry& entry, ZipReader& reader,
                           const std::function<bool()>& isStopped);

  posix::UniqueFd root_;
  posix::UniqueFd here_;  // the folder of the last item; none for the top
  std::size_t folder_ = UnpackedFolders::kTop;
  Path path_;
  UnpackedFolders folders_;
};

}  // namespace qm::linux_

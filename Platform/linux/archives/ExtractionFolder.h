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

/// The folder that an archive is unpacked into. Every item is reached from it a name at a time and by descriptor, and
/// no link is ever followed on the way, whether the archive made it, it was there before, or somebody plants it
/// meanwhile: nothing outside is made, changed or replaced.
///
/// What is there already is kept where the archive has nothing of the name; folders are merged, and a file or link is
/// replaced by a file or link. A folder and something that is none never replace each other.
class ExtractionFolder {
 public:
  explicit ExtractionFolder(posix::UniqueFd root) : root_(std::move(root)) {}

  /// Makes one item, and the folders on the way to it. `reader` gives the contents of a file.
  platform::Status add(const ZipEntry& entry, ZipReader& reader, const std::function<bool()>& isStopped);
  /// Gives the folders their permissions and times, which could have kept items out or been changed by them; until
  /// then those that are made are their owner's alone. After a failure to add an item, too. Folders that were there
  /// and are somebody else's stay as they are. Where one cannot be had, the others are; returns the first failure.
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

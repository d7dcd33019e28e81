#pragma once

#include <sys/types.h>

#include <ctime>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Status.h"
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
  /// Gives the folders their permissions and times, which could have kept items out or been changed by them.
  platform::Status finish();

  int descriptor() const { return root_.get(); }

 private:
  struct Folder {
    std::vector<std::string> path;
    mode_t permissions;
    std::optional<timespec> modified;
  };

  int goTo(std::vector<std::string> path);
  int step(const std::string& name);
  int here() const { return here_ ? here_.get() : root_.get(); }
  int addFolder(const std::vector<std::string>& path, const ZipEntry& entry);
  int addLink(const std::string& name, const ZipEntry& entry);
  platform::Status addFile(const std::string& name, const ZipEntry& entry, ZipReader& reader,
                           const std::function<bool()>& isStopped);
  int settle(Folder folder);

  posix::UniqueFd root_;
  posix::UniqueFd here_;  // the folder of the last item; none for the root
  std::vector<std::string> path_;
  std::vector<Folder> folders_;
};

}  // namespace qm::linux_

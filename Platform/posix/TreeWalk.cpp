// SPDX-License-Identifier: MIT
#include "Platform/posix/TreeWalk.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <utility>
#include <vector>

#include "Platform/posix/FolderListing.h"

namespace qm::posix {
namespace {

class Walk {
 public:
  explicit Walk(TreeVisitor& visitor) : visitor_(visitor) {}

  FileError run(int parent, const std::string& name) {
    if (const int error = chain_.start(parent)) return error;
    if (const int error = descend(name)) return {error, name};
    while (!frames_.empty()) {
      if (FileError error = frames_.back().done() ? ascend() : visitNext()) return error;
    }
    return {};
  }

 private:
  struct Frame {
    std::string name;
    std::vector<FolderEntry> entries;
    std::size_t next = 0;

    bool done() const { return next == entries.size(); }
  };

  FileError visitNext() {
    Frame& frame = frames_.back();
    const FolderEntry entry = std::move(frame.entries[frame.next++]);
    if (const int error = visit(entry)) return {error, entry.name};
    return {};
  }

  int visit(const FolderEntry& entry) {
    if (entry.kind == EntryKind::RegularFile) return visitor_.regularFile(chain_.folder(), entry.name);
    if (!isFolder(entry)) return visitor_.item(chain_.folder(), entry.name);
    const std::size_t depth = chain_.depth();
    const int error = descend(entry.name);
    // With these errors the entry was replaced after the listing. But if the folder was entered, the error comes from
    // the visitor and is returned.
    const bool noFolder = (error == ENOTDIR || error == ELOOP) && chain_.depth() == depth;
    return noFolder ? visitor_.item(chain_.folder(), entry.name) : error;
  }

  bool isFolder(const FolderEntry& entry) const {
    if (entry.kind != EntryKind::Unknown) return entry.kind == EntryKind::Folder;
    struct stat attributes {};
    return ::fstatat(chain_.folder(), entry.name.c_str(), &attributes, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISDIR(attributes.st_mode);
  }

  int descend(const std::string& name) {
    if (int error = chain_.enter(name.c_str())) {
      error = visitor_.cannotEnter(chain_.folder(), name, error);
      if (error != TreeVisitor::kTryAgain) return error;
      if ((error = chain_.enter(name.c_str())) != 0) return error;
    }
    if (const int error = visitor_.entered(chain_, name)) return error;
    Frame frame{name, {}, 0};
    if (const int error = list(frame.entries)) return error;
    frames_.push_back(std::move(frame));
    return 0;
  }

  int list(std::vector<FolderEntry>& entries) const {
    UniqueFd folder = duplicate(chain_.folder());
    return folder ? listFolder(std::move(folder), entries) : errno;
  }

  FileError ascend() {
    const std::string name = std::move(frames_.back().name);
    frames_.pop_back();
    UniqueFd folder;
    int error = chain_.leave(folder);
    if (error == 0) error = visitor_.left(chain_.folder(), folder.get(), name);
    return {error, name};
  }

  TreeVisitor& visitor_;
  FolderChain chain_;
  std::vector<Frame> frames_;
};

}  // namespace

FileError walkTree(int parent, const std::string& name, TreeVisitor& visitor) {
  return Walk(visitor).run(parent, name);
}

}  // namespace qm::posix

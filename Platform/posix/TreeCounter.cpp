// SPDX-License-Identifier: MIT
#include "Platform/posix/TreeCounter.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "Platform/posix/ItemPath.h"
#include "Platform/posix/TreeWalk.h"

namespace qm::posix {

class TreeCounter::Visitor : public TreeVisitor {
 public:
  Visitor(TreeCounter& counter, const std::function<bool()>& isUnwanted) : counter_(counter), isUnwanted_(isUnwanted) {}

  int entered(const FolderChain&, const std::string&) override { return add(0); }
  int item(int folder, const std::string& name) override {
    struct stat attributes {};
    if (::fstatat(folder, name.c_str(), &attributes, AT_SYMLINK_NOFOLLOW) != 0) return 0;
    return add(S_ISREG(attributes.st_mode) ? static_cast<std::uint64_t>(attributes.st_size) : 0);
  }
  int left(int, int, const std::string&) override { return 0; }
  /// Called also for a single item that is not a folder.
  int cannotEnter(int parent, const std::string& name, int) override { return item(parent, name); }

 private:
  int add(std::uint64_t bytes) {
    // Only one thread writes, so nothing is lost between reading and writing.
    counter_.objects_.store(counter_.objects_ + 1, std::memory_order_relaxed);
    counter_.bytes_.store(saturatingSum(counter_.bytes_, bytes), std::memory_order_relaxed);
    return counter_.stopped_ || isUnwanted_() ? ECANCELED : 0;
  }

  TreeCounter& counter_;
  const std::function<bool()>& isUnwanted_;
};

/// Nothing of the tree is open any more when it returns.
void TreeCounter::walk(const std::string& path, const std::function<bool()>& isUnwanted) {
  Visitor visitor(*this, isUnwanted);
  Place place;
  if (openPlace(path, place) == 0) static_cast<void>(walkTree(place.folder.get(), place.name, visitor));
}

void TreeCounter::count(const std::string& path, const std::function<bool()>& isUnwanted) {
  walk(path, isUnwanted);
  finished_ = true;
  finished_.notify_all();
}

}  // namespace qm::posix

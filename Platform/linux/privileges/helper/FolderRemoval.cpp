// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/helper/FolderRemoval.h"

#include <cerrno>
#include <utility>

#include "Platform/linux/privileges/helper/Confinement.h"
#include "Platform/linux/rights/PathWalk.h"
#include "Platform/posix/HollowFolder.h"
#include "Platform/posix/SystemFileCalls.h"

namespace qm::linux_ {
namespace {

class FolderRemoval : public PrivilegedWork {
 public:
  FolderRemoval(std::string path, PinnedPlace place) : path_(std::move(path)), place_(std::move(place)) {}

  WorkResult finish() override {
    if (!place_.item) return {};
    // Checked now, because a confined process cannot read the table of mounted volumes.
    if (posix::holdsMountPoint(place_.item.get())) return resultOf(EBUSY, path_);
    Confinement confinement;
    confinement.allowAll(place_.folder.get());
    if (const int error = confinement.enforce()) return resultOf(error, path_);
    return resultOf(posix::removeHollowFolder(place_.folder.get(), place_.name, posix::isHousekeeping), path_);
  }

 private:
  const std::string path_;
  const PinnedPlace place_;
};

}  // namespace

PreparedWork prepareFolderRemoval(const std::string& path) {
  Answer<PinnedPlace> place = pinPath(path, LastLink::Stays);
  if (!place) return place.problem();
  if (place->item && !place->isFolder()) return refusalFor(ENOTDIR, path);
  return std::unique_ptr<PrivilegedWork>(std::make_unique<FolderRemoval>(path, std::move(*place)));
}

}  // namespace qm::linux_

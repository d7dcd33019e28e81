// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/helper/FileWork.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>
#include <vector>

#include "Platform/linux/files/DescriptorPath.h"
#include "Platform/linux/privileges/helper/Confinement.h"
#include "Platform/linux/privileges/helper/FolderMerge.h"
#include "Platform/linux/rights/PathWalk.h"
#include "Platform/posix/ErrorWords.h"
#include "Platform/posix/FolderListing.h"
#include "Platform/posix/Move.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/TreeRemoval.h"

namespace qm::linux_ {
namespace {

using posix::FileError;
using posix::UniqueFd;
using Problem = std::optional<Refusal>;

bool isMissing(const Refusal& refusal) { return refusal.error == ENOENT || refusal.error == ENOTDIR; }

// A link followed by a slash means the folder that it leads to. As a source, or as the operand of rm and mkdir, it is
// refused.
bool isLinkToFolder(const PinnedPlace& place) { return place.withTrailingSlash && place.item && !place.isFolder(); }

// The operation on an operand.
using Change = FileError (*)(const PinnedPlace& place);

FileError removeIt(const PinnedPlace& place) {
  FileError error = posix::removeTree(place.folder.get(), place.name);
  return error.code == ENOENT ? FileError() : error;
}

FileError makeFolder(const PinnedPlace& place) {
  constexpr mode_t kMode = S_IRWXU | S_IRWXG | S_IRWXO;  // the umask removes its bits from this
  if (place.isFolder()) return {};
  return posix::errorOf(::mkdirat(place.folder.get(), place.name.c_str(), kMode));
}

FileError touchIt(const PinnedPlace& place) {
  if (!place.item) return {};
  const std::string path = posix::pathOfDescriptor(place.item.get());
  return posix::errorOf(::utimensat(AT_FDCWD, path.c_str(), nullptr, 0));
}

// Work on one operand. If the operand's parent folders are missing, there is no place and nothing to do.
class OperandWork {
 public:
  OperandWork(std::string path, std::optional<PinnedPlace> place, Change change)
      : path_(std::move(path)), place_(std::move(place)), change_(change) {}

  void confine(Confinement& confinement) const {
    if (place_) confinement.allowAll(place_->folder.get());
  }
  WorkResult finish() const { return place_ ? resultOf(change_(*place_), path_) : WorkResult(); }

 private:
  std::string path_;
  std::optional<PinnedPlace> place_;
  Change change_;
};
using PreparedOperand = Answer<OperandWork>;

// Works on all operands, one after the other, also after a failure.
class AllOperands : public PrivilegedWork {
 public:
  explicit AllOperands(std::vector<OperandWork> parts) : parts_(std::move(parts)) {}

  WorkResult finish() override {
    Confinement confinement;
    for (const OperandWork& part : parts_) part.confine(confinement);
    if (const int error = confinement.enforce()) return WorkResult::failed(posix::systemMessage(error));
    WorkResult all;
    for (const OperandWork& part : parts_) {
      const WorkResult one = part.finish();
      if (one.waitStatus != 0) all = {one.waitStatus, all.note.empty() ? one.note : all.note + "; " + one.note};
    }
    return all;
  }

 private:
  const std::vector<OperandWork> parts_;
};

PreparedOperand workOn(const std::string& path, Answer<PinnedPlace> place, Change change) {
  if (!place && !isMissing(place.problem())) return place.problem();
  if (place && isLinkToFolder(*place)) return refusalFor(ENOTDIR, path);
  std::optional<PinnedPlace> found;
  if (place) found = std::move(*place);
  return OperandWork(path, std::move(found), change);
}

// A user who can change the folder may have linked a file there that belongs to somebody else.
PreparedOperand touchingOf(const std::string& path) {
  Answer<PinnedPlace> place = pinPath(path, LastLink::IsFollowed);
  const bool hasOtherNames = place && place->item && !place->isFolder() && place->itemStatus.st_nlink > 1;
  if (hasOtherNames && !place->writers.none()) {
    return Refusal{EPERM, path + ": it has other names, and users other than root can change its folder"};
  }
  return workOn(path, std::move(place), touchIt);
}

// Checked now, because a confined process cannot read the table of mounted volumes.
PreparedOperand removalOf(const std::string& path) {
  Answer<PinnedPlace> place = pinPath(path, LastLink::Stays);
  if (place && place->isFolder() && posix::holdsMountPoint(place->item.get())) return refusalFor(EBUSY, path);
  return workOn(path, std::move(place), removeIt);
}

PreparedOperand workOnOperand(const FileCommand& command, const std::string& path) {
  switch (command.kind) {
    case FileCommandKind::MakeFolders:
      if (command.options.empty()) return workOn(path, pinPath(path, LastLink::Stays), makeFolder);
      return workOn(path, pinPathMakingFolders(path), makeFolder);
    case FileCommandKind::Touch:
      return touchingOf(path);
    default:
      return removalOf(path);
  }
}

PreparedWork workOnOperands(const FileCommand& command) {
  std::vector<OperandWork> parts;
  for (const std::string& path : command.operands) {
    PreparedOperand part = workOnOperand(command, path);
    if (!part) return part.problem();
    parts.push_back(std::move(*part));
  }
  return std::unique_ptr<PrivilegedWork>(std::make_unique<AllOperands>(std::move(parts)));
}

// MARK: - From one place to another

class Transfer : public PrivilegedWork {
 public:
  Transfer(std::string path, PinnedPlace source, PinnedPlace target, FileCommandKind kind)
      : path_(std::move(path)), source_(std::move(source)), target_(std::move(target)), kind_(kind) {}

  WorkResult finish() override {
    Confinement confinement;
    if (kind_ == FileCommandKind::Move) confinement.allowAll(source_.folder.get());
    if (kind_ == FileCommandKind::Copy) confinement.allowReading(source_.item.get());
    confinement.allowAll(target_.folder.get());
    if (const int error = confinement.enforce()) return resultOf(error, path_);
    if (changedMeanwhile()) return resultOf(ESTALE, path_);
    return resultOf(kind_ == FileCommandKind::Move ? move() : copy(), path_);
  }

 private:
  bool changedMeanwhile() const {
    const auto now = statusIn(source_.folder.get(), source_.name.c_str());
    return !now || !isSameItem(*now, source_.itemStatus);
  }

  FileError move() {
    const posix::Place from = placeOf(source_);
    const posix::Place to = placeOf(target_);
    if (!from.folder || !to.folder) return errno;
    return posix::moveTreeReplacing(from, to);
  }

  FileError copy() {
    const posix::Place from = placeOf(source_);
    const posix::Place to = placeOf(target_);
    if (!from.folder || !to.folder) return errno;
    return copyMerging(from, to);
  }

  static posix::Place placeOf(const PinnedPlace& place) { return {duplicate(place.folder), place.name}; }

  const std::string path_;
  const PinnedPlace source_;
  const PinnedPlace target_;
  const FileCommandKind kind_;
};

// Checks a destination and resolves it to the location that the item will have.
class TargetChoice {
 public:
  TargetChoice(FileCommandKind kind, const std::string& path, const PinnedPlace& source)
      : copies_(kind == FileCommandKind::Copy), path_(path), source_(source) {}

  Answer<PinnedPlace> pin() const {
    Answer<PinnedPlace> place = pinPath(path_, LastLink::Stays);
    if (place && place->isLink()) place = throughLink(std::move(*place));
    if (!place) return place;
    if (place->isFolder()) place = placeIn(std::move(*place));
    if (!place) return place;
    if (place->withTrailingSlash && !place->item) return refusalFor(ENOTDIR, path_);
    if (const Problem problem = obstacle(*place)) return *problem;
    return place;
  }

 private:
  // A copy never writes through a link; a move replaces the link, unless it leads to a folder.
  Answer<PinnedPlace> throughLink(PinnedPlace link) const {
    Answer<PinnedPlace> followed = pinPath(path_, LastLink::IsFollowed);
    if (!followed || followed->isFolder()) return followed;
    if (copies_) return Refusal{ELOOP, path_ + ": a link is in the way"};
    return link;
  }

  Answer<PinnedPlace> placeIn(PinnedPlace folder) const {
    PinnedPlace place;
    place.folder = std::move(folder.item);
    place.name = source_.name;
    place.item.reset(::openat(place.folder.get(), place.name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (!place.item && errno != ENOENT) return refusalFor(errno, path_);
    if (!place.item) return place;
    const auto status = statusOf(place.item.get());
    if (!status) return refusalFor(errno, path_);
    place.itemStatus = *status;
    if (place.isLink() && copies_) return Refusal{ELOOP, path_ + "/" + place.name + ": a link is in the way"};
    return place;
  }

  Problem obstacle(const PinnedPlace& target) const {
    if (!target.item) return std::nullopt;
    if (isSameItem(target.itemStatus, source_.itemStatus)) return Refusal{EEXIST, path_ + ": it is the item itself"};
    if (target.isFolder() != source_.isFolder()) return refusalFor(target.isFolder() ? EISDIR : ENOTDIR, path_);
    if (!target.isFolder()) return std::nullopt;
    if (!copies_) return mustBeEmpty(target);
    if (onlyRootWrites(target.folder.get()) && onlyRootWritesTree(target.item.get())) return std::nullopt;
    return Refusal{EPERM, path_ + ": nothing is copied into a folder that users other than root can change"};
  }

  Problem mustBeEmpty(const PinnedPlace& target) const {
    std::vector<std::string> names;
    UniqueFd listed(::openat(target.item.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const int error = listed ? posix::listFolder(std::move(listed), names) : errno;
    if (error == 0 && names.empty()) return std::nullopt;
    return refusalFor(error != 0 ? error : ENOTEMPTY, path_);
  }

  const bool copies_;
  const std::string& path_;
  const PinnedPlace& source_;
};

bool isOnOtherVolume(const PinnedPlace& source, const PinnedPlace& target) {
  posix::FolderIdentity one;
  posix::FolderIdentity other;
  return posix::identify(source.folder.get(), one) != 0 || posix::identify(target.folder.get(), other) != 0 ||
         !one.sameMount(other);
}

Problem mayGoUnconfined(const FileCommand& command, const PinnedPlace& source, const PinnedPlace& target) {
  if (Confinement::isAvailable()) return std::nullopt;
  if (command.kind == FileCommandKind::Move) {
    if (!isOnOtherVolume(source, target)) return std::nullopt;
    return Refusal{ENOTSUP, command.operands[0] + ": it would go to another volume, and this kernel has no Landlock"};
  }
  const bool isRoots = !source.isFolder() || onlyRootWritesTree(source.item.get());
  if (isRoots && onlyRootWrites(source.folder.get())) return std::nullopt;
  return Refusal{ENOTSUP,
                 command.operands[0] + ": users other than root can change it, and this kernel has no Landlock"};
}

PreparedWork transfer(const FileCommand& command) {
  const std::string& from = command.operands[0];
  Answer<PinnedPlace> source = pinPath(from, LastLink::Stays);
  if (!source) return source.problem();
  if (!source->item || isLinkToFolder(*source)) return refusalFor(source->item ? ENOTDIR : ENOENT, from);
  Answer<PinnedPlace> target = TargetChoice(command.kind, command.operands[1], *source).pin();
  if (!target) return target.problem();
  if (const Problem problem = mayGoUnconfined(command, *source, *target)) return *problem;
  auto work = std::make_unique<Transfer>(from, std::move(*source), std::move(*target), command.kind);
  return std::unique_ptr<PrivilegedWork>(std::move(work));
}

}  // namespace

PreparedWork prepareFileWork(const FileCommand& command) {
  const bool transfers = command.kind == FileCommandKind::Move || command.kind == FileCommandKind::Copy;
  return transfers ? transfer(command) : workOnOperands(command);
}

}  // namespace qm::linux_

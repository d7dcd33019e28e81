// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/helper/TrashMove.h"

#include <cerrno>
#include <ctime>
#include <utility>

#include "Platform/foundation/PathComponents.h"
#include "Platform/linux/privileges/helper/Confinement.h"
#include "Platform/linux/rights/PathWalk.h"
#include "Platform/linux/trash/DesktopTrash.h"
#include "Platform/linux/trash/RootMove.h"

namespace qm::linux_ {
namespace {

class TrashMove : public PrivilegedWork {
 public:
  TrashMove(std::string path, RootMove move) : path_(std::move(path)), move_(std::move(move)) {}

  WorkResult finish() override {
    Confinement confinement;
    confinement.allowAll(move_.sourceFolder());
    confinement.allowAll(move_.trashFolder());
    if (const int error = confinement.enforce()) return resultOf(error, path_);
    std::string note;
    WorkResult result = resultOf(move_.run(&note), path_);
    if (result.waitStatus == 0 && !note.empty()) result.note = path_ + ": " + note;
    return result;
  }

 private:
  const std::string path_;
  RootMove move_;
};

std::string dateNow() {
  const time_t now = ::time(nullptr);
  tm local{};
  char text[32] = {};
  static_cast<void>(::localtime_r(&now, &local));
  static_cast<void>(::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &local));
  return text;
}

std::optional<Refusal> misplaced(const std::string& path, const PinnedPlace& source, const TrashDirectory& trash) {
  if (!source.item) return refusalFor(ENOENT, path);
  if (source.withTrailingSlash && !source.isFolder()) return refusalFor(ENOTDIR, path);
  if (foundation::isAtOrBelow(source.shown(), trash.path))
    return Refusal{EINVAL, path + ": it is already in the Trash"};
  if (foundation::isAtOrBelow(trash.path, source.shown())) return Refusal{EINVAL, path + ": the Trash itself is in it"};
  return std::nullopt;
}

std::optional<Refusal> obstacle(const std::string& path, const RootMove& move) {
  if (!move.isOnTrashVolume() && !Confinement::isAvailable()) {
    return Refusal{ENOTSUP, path + ": it lies on another volume than the Trash, and this kernel has no Landlock"};
  }
  const posix::FileError error = move.obstacle();
  if (!error) return std::nullopt;
  return Refusal{error.code, path + ": " + obstacleWords(error.code) + (error.item.empty() ? "" : ": " + error.item)};
}

}  // namespace

std::optional<TrashRequest> trashMoveIn(const FileCommand& command, const UserRecord& person) {
  if (command.kind != FileCommandKind::Move) return std::nullopt;
  const std::string folder = person.home + "/.Trash/";
  const std::string& destination = command.operands[1];
  const std::string name = destination.starts_with(folder) ? destination.substr(folder.size()) : std::string();
  const bool isName = !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos;
  return isName ? std::optional(TrashRequest{command.operands[0], name}) : std::nullopt;
}

PreparedWork prepareTrashMove(const TrashRequest& request, const UserRecord& person,
                              const platform::ProductIdentity& product) {
  const std::string& path = request.item;
  const TrashUser user = trashUserFor(person, product.workFolderPrefix);
  OpenedTrash trash = openShownTrash(user, MissingTrash::IsMade);
  if (!trash) return Refusal{trash.problem().code, path + ": " + trash.problem().because};
  mendRootMoves(**trash, user);
  Answer<PinnedPlace> source = pinPath(path, LastLink::Stays);
  if (!source) return source.problem();
  if (const auto refusal = misplaced(path, *source, **trash)) return *refusal;
  RootMove move(path, std::move(*source), *trash, user.identity, request.storedName, dateNow());
  if (const auto refusal = obstacle(path, move)) return *refusal;
  return std::unique_ptr<PrivilegedWork>(std::make_unique<TrashMove>(path, std::move(move)));
}

void mendTrashMoves(const UserRecord& person, const platform::ProductIdentity& product) {
  mendRootMoves(trashUserFor(person, product.workFolderPrefix));
}

}  // namespace qm::linux_

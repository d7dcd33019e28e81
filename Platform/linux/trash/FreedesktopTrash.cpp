#include "Platform/linux/trash/FreedesktopTrash.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "Platform/foundation/DateText.h"
#include "Platform/foundation/PathComponents.h"
#include "Platform/linux/trash/MoveToTrash.h"
#include "Platform/linux/trash/RootMove.h"

namespace qm::linux_ {
namespace {

using platform::Status;

// Asking who the user is takes longer than moving a file; within this time an answer stands.
constexpr std::chrono::seconds kAnswersStand{1};

std::optional<std::string> environmentDataHome() {
  // Nothing in this program changes the environment.
  const char* value = std::getenv("XDG_DATA_HOME");  // NOLINT(concurrency-mt-unsafe)
  return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

bool isAbsolutePath(const std::string& path) { return path.starts_with('/') && path.find('\0') == std::string::npos; }

// Within the home the link is relative, so that it holds when the home is moved.
std::string linkTarget(const std::string& trashDirectory, const TrashUser& user, const TrashDirectory& home) {
  const bool beside = !user.dataHome && foundation::deletingLastPathComponent(trashDirectory) == user.home;
  return beside ? ".local/share/Trash/files" : home.path + "/files";
}

// A courtesy: whether it succeeds has no bearing on the item.
void makeLink(const std::string& trashDirectory, const std::string& target) {
  struct stat found {};
  if (::lstat(trashDirectory.c_str(), &found) == 0 || errno != ENOENT) return;
  if (::symlink(target.c_str(), trashDirectory.c_str()) != 0) return;
}

bool isTrashItself(const SourceFolder& source, const std::string& name, const std::string& trashDirectory) {
  if (name != foundation::lastPathComponent(trashDirectory)) return false;
  const std::optional<ItemIdentity> item = itemIdentity(source.fd.get(), name.c_str());
  const std::optional<ItemIdentity> trash = itemIdentity(AT_FDCWD, trashDirectory.c_str());
  return item && trash && item->sameItem(*trash);
}

Status itemRefused(const std::string& name) { return trashFailure(name, {EINVAL, "it is the Trash itself"}); }

}  // namespace

FreedesktopTrash::FreedesktopTrash(const platform::Users& users, const platform::Clock& clock,
                                   std::string_view workFolderPrefix)
    : users_(users), clock_(clock), dataHome_(environmentDataHome()), workFolderPrefix_(workFolderPrefix) {}

Status FreedesktopTrash::recycle(const std::string& sourceFolder, const std::optional<std::string>& trashDirectory,
                                 const std::vector<std::string>& names) {
  const std::string first = names.empty() ? sourceFolder : names.front();
  if (!trashDirectory) return trashFailure(first, {ENOENT, "nobody is logged in"});
  if (!isAbsolutePath(*trashDirectory)) return trashFailure(first, {EINVAL, "the place of the Trash is not known"});
  TrashAnswer<SharedUser> user = userFor(*trashDirectory);
  if (!user) return trashFailure(first, user.problem());
  TrashAnswer<SourceFolder> source = openSourceFolder(sourceFolder, **user);
  if (!source) return trashFailure(first, source.problem());

  if ((*user)->forAnother) mendRootMoves(**user);
  FileSystemUser acting((*user)->forAnother ? &(*user)->identity : nullptr);
  if (!acting.ok()) return trashFailure(first, itemProblem(EPERM));
  OpenedTrash home = finder_.homeTrash(**user);
  if (home) showTrash(*trashDirectory, **user, **home);
  OpenedTrash trash = TrashFinder::trashFor(*source, **user, home, acting);
  if (!trash) return trashFailure(first, trash.problem());

  const std::string date = deletionDate();
  for (const std::string& name : names) {
    if (isTrashItself(*source, name, *trashDirectory)) return itemRefused(name);
    const auto problem = moveToTrash(*source, name, *trash, date, acting, volumes_);
    if (problem) return trashFailure(name, *problem);
    unflushed_.add(**trash);
  }
  return Status::success();
}

TrashAnswer<FreedesktopTrash::SharedUser> FreedesktopTrash::userFor(const std::string& trashDirectory) {
  const KnownUser asked{users_.realUserId(), trashDirectory, clock_.monotonicNow(), nullptr};
  if (SharedUser known = knownUser(asked)) return known;
  TrashAnswer<TrashUser> user = findTrashUser(users_, dataHome_, workFolderPrefix_);
  if (!user) return user.problem();
  auto shared = std::make_shared<const TrashUser>(std::move(*user));
  const std::scoped_lock lock(mutex_);
  knownUser_ = asked;
  knownUser_.user = shared;
  return shared;
}

FreedesktopTrash::SharedUser FreedesktopTrash::knownUser(const KnownUser& asked) {
  const std::scoped_lock lock(mutex_);
  const bool stands = knownUser_.realUserId == asked.realUserId && knownUser_.trashDirectory == asked.trashDirectory &&
                      asked.since - knownUser_.since < kAnswersStand;
  return stands ? knownUser_.user : nullptr;
}

void FreedesktopTrash::showTrash(const std::string& trashDirectory, const TrashUser& user, const TrashDirectory& home) {
  const auto now = clock_.monotonicNow();
  {
    const std::scoped_lock lock(mutex_);
    if (knownLink_.trashDirectory == trashDirectory && now - knownLink_.since < kAnswersStand) return;
    knownLink_ = {trashDirectory, now};
  }
  makeLink(trashDirectory, linkTarget(trashDirectory, user, home));
}

std::string FreedesktopTrash::deletionDate() {
  const auto second = std::chrono::floor<std::chrono::seconds>(clock_.now());
  const std::scoped_lock lock(mutex_);
  if (knownDate_.text.empty() || knownDate_.second != second) {
    knownDate_ = {second, foundation::isoDate(clock_.localTime(second))};
  }
  return knownDate_.text;
}

}  // namespace qm::linux_

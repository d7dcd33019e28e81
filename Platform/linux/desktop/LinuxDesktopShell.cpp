// SPDX-License-Identifier: MIT
#include "Platform/linux/desktop/LinuxDesktopShell.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "Platform/linux/desktop/ApplicationBundle.h"
#include "Platform/linux/desktop/DesktopNotices.h"
#include "Platform/linux/desktop/ItemOfReference.h"
#include "Platform/linux/desktop/ThreadUser.h"
#include "Platform/linux/system/Environment.h"
#include "Platform/posix/AtomicWrite.h"
#include "Platform/posix/ItemPath.h"
#include "Platform/posix/MakeFolders.h"
#include "Platform/posix/SmallFile.h"

namespace qm::linux_ {
namespace {

using platform::OSStatus;

constexpr const char* kUpdateTool = "/usr/bin/update-desktop-database";
constexpr const char* kLimitTool = "/usr/bin/timeout";
constexpr const char* kUpdateSeconds = "5";
constexpr const char* kAsUserTool = "/usr/bin/setpriv";
constexpr std::size_t kLargestEntry = std::size_t{1024} * 1024;

struct ItemAlias : platform::Alias {
  explicit ItemAlias(ChangedItem changed) : item(std::move(changed)) {}
  ChangedItem item;
};

const FileSystemIdentity* actingIdentity(const TrashUser& person) {
  return person.forAnother ? &person.identity : nullptr;
}

std::string applicationsFolderOf(const TrashUser& person) {
  return person.dataHome.value_or(person.home + "/.local/share") + "/applications";
}

/// True if nothing is at the path, or an entry that this class created.
bool mayReplace(const std::string& path, const EntryMark& mark) {
  struct stat found {};
  if (::lstat(path.c_str(), &found) != 0) return errno == ENOENT;
  if (!S_ISREG(found.st_mode)) return false;
  const auto text = posix::readSmallFile(path, kLargestEntry);
  return text && isOwnDesktopEntry(*text, mark);
}

OSStatus writeEntry(const std::string& folder, const ApplicationBundle& bundle, const EntryMark& mark) {
  const auto text = desktopEntryText(bundle.entry, mark);
  if (!text || posix::makeFolders(folder) != 0) return platform::kLSUnknownErr;
  const std::string path = folder + "/" + desktopEntryName(bundle.identifier, bundle.entry.bundle, mark);
  const bool written = mayReplace(path, mark) && posix::writeAtomically(path, *text) == 0;
  return written ? platform::noErr : platform::kLSUnknownErr;
}

OSStatus addToMenu(const std::string& path, const TrashUser& person, const EntryMark& mark) {
  const FileSystemUser acting(actingIdentity(person));
  if (!acting.ok()) return platform::kLSUnknownErr;
  ApplicationBundle bundle;
  const OSStatus error = readApplicationBundle(path, bundle);
  return error != platform::noErr ? error : writeEntry(applicationsFolderOf(person), bundle, mark);
}

}  // namespace

LinuxDesktopShell::LinuxDesktopShell(const platform::Users& users, platform::Tasks& tasks, const EntryMark& mark,
                                     std::chrono::milliseconds busLimit)
    : users_(users),
      tasks_(tasks),
      mark_(mark),
      busLimit_(busLimit),
      dataHome_(absoluteFolder(environmentValue("XDG_DATA_HOME"))),
      busAddress_(environmentValue("DBUS_SESSION_BUS_ADDRESS")),
      runtimeFolder_(absoluteFolder(environmentValue("XDG_RUNTIME_DIR"))) {}

OSStatus LinuxDesktopShell::newMinimalAlias(const platform::FileReference& reference,
                                            std::unique_ptr<platform::Alias>* alias) {
  const ItemOfReference* item = itemOf(reference);
  std::optional<std::string> path = item == nullptr ? std::nullopt : item->path();
  if (!path) return platform::fnfErr;
  *alias = std::make_unique<ItemAlias>(ChangedItem{std::move(*path), item->isFolder()});
  return platform::noErr;
}

OSStatus LinuxDesktopShell::sendUpdateEvent(const platform::Alias& alias) {
  const auto* named = dynamic_cast<const ItemAlias*>(&alias);
  TrashAnswer<TrashUser> person = findTrashUser(users_, dataHome_);
  if (named == nullptr || !person) return platform::procNotFound;
  const ThreadUser acting(actingIdentity(*person));
  const bool sent = acting.ok() && sendNotice(busAddressOf(*person), named->item, busLimit_);
  return sent ? platform::noErr : platform::procNotFound;
}

OSStatus LinuxDesktopShell::registerApplication(const std::string& path) {
  if (posix::pathError(path) != 0) return platform::fnfErr;
  TrashAnswer<TrashUser> person = findTrashUser(users_, dataHome_);
  if (!person || mark_.key.empty() || mark_.filePrefix.empty()) return platform::kLSUnknownErr;
  const OSStatus status = addToMenu(path, *person, mark_);
  if (status == platform::noErr) updateDatabase(applicationsFolderOf(*person), *person);
  return status;
}

std::string LinuxDesktopShell::busAddressOf(const TrashUser& person) const {
  const std::string usual = "/run/user/" + std::to_string(person.identity.uid);
  if (person.forAnother) return busIn(usual);
  return busAddress_ ? *busAddress_ : busIn(runtimeFolder_.value_or(usual));
}

/// The default applications for document types are kept apart from the entries. Without the tool, or if it fails, the
/// menu still shows the application. The tool opens every file with an entry's name and would block on a pipe that
/// nobody writes to.
void LinuxDesktopShell::updateDatabase(const std::string& folder, const TrashUser& person) {
  std::vector<std::string> command = {kLimitTool, "--signal=KILL", kUpdateSeconds, kUpdateTool, "-q", folder};
  if (person.forAnother) {
    // The tool writes to a folder in which that user may have planted anything.
    const FileSystemIdentity& user = person.identity;
    command.insert(command.begin(), {kAsUserTool, "--reuid", std::to_string(user.uid), "--regid",
                                     std::to_string(user.gid), "--clear-groups", "--reset-env"});
  }
  const auto task = tasks_.makeTask();
  task->setLaunchPath(command.front());
  task->setArguments({command.begin() + 1, command.end()});
  task->setStandardInput(platform::TaskStream::NullDevice);
  task->setStandardOutput(platform::TaskStream::NullDevice);
  task->setStandardError(platform::TaskStream::NullDevice);
  if (task->launch()) task->waitUntilExit();
}

}  // namespace qm::linux_

// SPDX-License-Identifier: MIT
#include "Shared/QMAuthorization.h"

#include "Platform/Clock.h"
#include "Platform/Console.h"
#include "Platform/FileSystem.h"
#include "Platform/Platform.h"
#include "Platform/Users.h"
#include "Platform/foundation/DateText.h"
#include "Platform/foundation/PathComponents.h"
#include "Shared/QMLocalPaths.h"
#include "Shared/QMLog.h"
#include "Shared/QMTask.h"

using namespace qm::platform;  // the names of Authorization Services are long enough as they are
using qm::foundation::appendingPathComponent;
using qm::foundation::formatted;
using qm::foundation::WipeAtEnd;

namespace {

constexpr std::int32_t kNotAuthorized = -1;
constexpr std::int32_t kToolMissing = -2;
/// Gives a tool that was just started time to begin.
constexpr std::chrono::microseconds kStartPause(500);

AuthorizationItems administratorRights() { return {{.name = "system.privilege.admin", .value = "", .flags = 0}}; }

/// Fills the items in place: every copy of a password would have to be wiped as well, including those that a list moves
/// as it grows.
void fillCredentials(AuthorizationItems& items, const std::string& user, const std::string& password) {
  items[0].name = "username";
  items[0].value = user;
  items[1].name = "password";
  items[1].value = password;
}

bool exists(const std::string& path) { return platform().fileSystem->fileExists(path); }

std::vector<std::string> namesIn(const std::string& folder) {
  return platform().fileSystem->contentsOfDirectory(folder).value_or(std::vector<std::string>());
}

/// Checks the guard; a refusal is printed with `message`.
bool isProtected(const std::string& path, std::string_view message) {
  if (!QMLocalPaths::isPathSystemDirectory(path, QMLocalPaths::ExactMatch::Yes)) return false;
  printToConsole(message, path);
  return true;
}

/// Whether both paths of an operation are given; the first missing one is reported.
bool areGiven(std::string_view operation, const std::optional<std::string>& source,
              const std::optional<std::string>& destination) {
  if (source && destination) return true;
  printToConsole("Error in %@: %@ path is null", operation, source ? "new" : "old");
  return false;
}

/// Starts a tool directly, in the form that is safe for root.
void runAsRoot(const std::string& tool, const std::vector<std::string>& parameters, QMAuthorization::Async async) {
  const ToolCommand command = platform().authorizationServices->commandForRoot(tool, parameters);
  if (async == QMAuthorization::Async::Yes) return QMTask::runTaskAndReturn(command.tool, command.arguments);
  QMTask::runTask(command.tool, command.arguments);
}

/// Runs an operation for each entry of a folder, also after a failure; true if none failed.
template <class Operation>
bool forEachEntry(const std::string& folder, Operation operation) {
  bool allDone = true;
  for (const auto& name : namesIn(folder)) {
    if (!operation(name)) allDone = false;
  }
  return allDone;
}

}  // namespace

// MARK: - The session

QMAuthorization* QMAuthorization::sharedController() { return sharedController(WithGUI::Yes); }

QMAuthorization* QMAuthorization::sharedController(WithGUI withGUI) {
  const std::scoped_lock lock(classLock());
  if (shared().load() == nullptr) {
    auto* object = allocWithZone();
    withGUI == WithGUI::Yes ? object->init() : object->initWithoutGUI();
  }
  return shared().load();
}

QMAuthorization* QMAuthorization::init() { return initWithGUI(WithGUI::Yes); }

QMAuthorization* QMAuthorization::initWithoutGUI() { return initWithGUI(WithGUI::No); }

QMAuthorization* QMAuthorization::initWithGUI(WithGUI withGUI) {
  const std::scoped_lock lock(sessionMutex_);
  hasGUI_ = withGUI == WithGUI::Yes;
  authRef_ = nullptr;
  AuthorizationRef handedDown = nullptr;
  const auto status =
      platform().authorizationServices->copyPrivilegedReference(&handedDown, kAuthorizationFlagDefaults);
  if (status == errAuthorizationSuccess && handedDown != nullptr) authRef_ = handedDown;
  if (!platform().users->isRoot()) userDirectory_ = QMLocalPaths::userDirectory();
  return this;
}

bool QMAuthorization::canAuthorize() const { return hasGUI_ || platform().users->isRoot(); }

bool QMAuthorization::isAuthorized() const { return platform().users->isRoot() || authRef_ != nullptr; }

bool QMAuthorization::authStart() {
  const std::scoped_lock lock(sessionMutex_);
  return startSession();
}

/// Called under the lock. Other threads see the session only when it has its rights, not while the dialog is shown.
bool QMAuthorization::startSession() {
  if (isAuthorized()) return true;
  if (!hasGUI_) {
    printToConsole("Unable to authorize");
    return false;
  }
  auto& services = *platform().authorizationServices;
  AuthorizationRef session = nullptr;
  if (services.create({}, kAuthorizationFlagDefaults, &session) == errAuthorizationSuccess) {
    constexpr AuthorizationFlags flags =
        kAuthorizationFlagInteractionAllowed | kAuthorizationFlagExtendRights | kAuthorizationFlagPreAuthorize;
    if (services.copyRights(session, administratorRights(), {}, flags) == errAuthorizationSuccess) {
      authRef_ = session;
      return true;
    }
    services.free(session, kAuthorizationFlagDefaults);
  }
  authRef_ = nullptr;
  return false;
}

bool QMAuthorization::authStartWithUser(const std::optional<std::string>& user,
                                        const std::optional<std::string>& password) {
  if (platform().users->isRoot()) return true;
  if (!user || !password) return false;
  AuthorizationItems credentials(2);
  const WipeAtEnd wiped(credentials);
  fillCredentials(credentials, *user, *password);
  const std::scoped_lock lock(sessionMutex_);
  auto& services = *platform().authorizationServices;
  // The handle is overwritten, not freed: another session may still be in use under it.
  AuthorizationRef session = nullptr;
  if (const auto status = services.create(credentials, kAuthorizationFlagDefaults, &session); status != 0) {
    printToConsole("Unable to create authRef - error %d", status);
    authRef_ = nullptr;
    return false;
  }
  constexpr AuthorizationFlags flags = kAuthorizationFlagExtendRights | kAuthorizationFlagPreAuthorize;
  if (services.copyRights(session, administratorRights(), credentials, flags) == errAuthorizationSuccess) {
    authRef_ = session;
    return true;
  }
  services.free(session, kAuthorizationFlagDefaults);
  authRef_ = nullptr;
  printToConsole("Authorization failed. Invalid username or password");
  QMLog::appendLog("Authorization failed. Invalid username or password");
  return false;
}

void QMAuthorization::authEnd() {
  const std::scoped_lock lock(sessionMutex_);
  if (!platform().users->isRoot() && authRef_ != nullptr)
    platform().authorizationServices->free(authRef_, kAuthorizationFlagDefaults);
  authRef_ = nullptr;
}

void QMAuthorization::finalize() { authEnd(); }

void QMAuthorization::dealloc() { authEnd(); }

// MARK: - Running tools

std::int32_t QMAuthorization::authExecTask(const std::string& path, const std::vector<std::string>& parameters,
                                           Async async) {
  if (!exists(path)) {
    printToConsole("Unable to execute task: path %@ doesn't exist", path);
    return kToolMissing;
  }
  if (platform().users->isRoot()) {
    runAsRoot(path, parameters, async);
    return errAuthorizationSuccess;
  }
  std::shared_ptr<CommunicationsPipe> pipe;
  const auto status = launchWithRights(path, parameters, pipe);
  if (status != errAuthorizationSuccess || async == Async::Yes) return status;
  while (pipe && pipe->readCharacter() >= 0) {
  }
  return status;
}

/// Both steps under one lock, so that the session still exists when the tool is started.
std::int32_t QMAuthorization::launchWithRights(const std::string& path, const std::vector<std::string>& parameters,
                                               std::shared_ptr<CommunicationsPipe>& pipe) {
  const std::scoped_lock lock(sessionMutex_);
  auto& services = *platform().authorizationServices;
  if (!isAuthorized()) {
    if (hasGUI_) services.announce(path, parameters);
    startSession();
  }
  if (!isAuthorized()) return kNotAuthorized;
  const auto status = services.executeWithPrivileges(authRef_, path, kAuthorizationFlagDefaults, parameters, &pipe);
  if (pipe) communicationsPipes_.push_back(pipe);
  return status;
}

std::int32_t QMAuthorization::authExecTask(const std::string& path, const std::vector<std::string>& parameters) {
  return authExecTask(path, parameters, Async::Yes);
}

/// Starts a tool of the file commands, which are always attempted if the process runs as root.
bool QMAuthorization::startFileCommand(const std::string& tool, const std::vector<std::string>& parameters) {
  if (!platform().users->isRoot()) return authExecTask(tool, parameters) == errAuthorizationSuccess;
  runAsRoot(tool, parameters, Async::Yes);
  return true;
}

// MARK: - File commands

bool QMAuthorization::authCreateDir(const std::string& path) {
  if (!startFileCommand("/bin/mkdir", {"-p", path})) return false;
  if (!platform().users->isRoot()) platform().clock->sleep(kStartPause);
  return true;
}

bool QMAuthorization::authCopyFile(const std::optional<std::string>& source,
                                   const std::optional<std::string>& destination) {
  if (!areGiven("authCopyFile", source, destination)) return false;
  return exists(*source) && startFileCommand("/bin/cp", {"-f", "-p", "-R", *source, *destination});
}

bool QMAuthorization::authMoveFile(const std::optional<std::string>& source,
                                   const std::optional<std::string>& destination) {
  if (!areGiven("authMoveFile", source, destination)) return false;
  if (isProtected(*source, "Unable to move path %@ because it is a system directory.")) return false;
  return exists(*source) && startFileCommand("/bin/mv", {"-f", *source, *destination});
}

bool QMAuthorization::authMoveFolderContents(const std::string& folder, const std::optional<std::string>& destination) {
  if (isProtected(folder, "Unable to move contents of path %@ because it is a system directory.")) return false;
  return forEachEntry(folder, [&](const std::string& name) {
    return authMoveFile(appendingPathComponent(folder, name), appendingPathComponent(destination, name));
  });
}

/// Where a path goes in the Trash. If its name is taken, the time is added once; the new name is not checked again.
std::optional<std::string> QMAuthorization::trashDestination(const std::string& path) const {
  const std::string name = qm::foundation::lastPathComponent(path);
  auto destination = appendingPathComponent(QMLocalPaths::trashDirectory(), name);
  if (platform().users->isRoot() && userDirectory_) destination = *userDirectory_ + formatted("/.Trash/%@", name);
  if (!destination || !exists(*destination)) return destination;
  const auto& clock = *platform().clock;
  const std::string date = qm::foundation::compactDate(clock.localTime(clock.now()));
  return qm::foundation::deletingPathExtension(*destination) +
         formatted("_%@.%@", date, qm::foundation::pathExtension(path));
}

bool QMAuthorization::deletesOnRootAccount(DeleteOnRootAccount flag) const {
  return !userDirectory_ && flag == DeleteOnRootAccount::Yes && platform().users->isRoot();
}

bool QMAuthorization::authTrashFile(const std::string& path, DeleteOnRootAccount deleteOnRootAccount) {
  if (isProtected(path, "Unable to trash path %@ because it is a system directory.")) return false;
  const auto destination = trashDestination(path);
  // The chosen name in the Trash is removed; the path itself stays. Callers rely on that.
  if (deletesOnRootAccount(deleteOnRootAccount)) return destination && authRemoveFile(*destination);
  return authMoveFile(path, destination);
}

bool QMAuthorization::authTrashFile(const std::string& path) { return authTrashFile(path, DeleteOnRootAccount::No); }

bool QMAuthorization::authTrashFolderContents(const std::string& folder, DeleteOnRootAccount deleteOnRootAccount) {
  if (isProtected(folder, "Unable to trash folder contents of path %@ because it is a system directory.")) return false;
  const bool deletes = deletesOnRootAccount(deleteOnRootAccount);
  return forEachEntry(folder, [&](const std::string& name) {
    const std::string entry = appendingPathComponent(folder, name);
    return deletes ? authExecTask("/bin/rm", {"-R", "-f", entry}) == errAuthorizationSuccess : authTrashFile(entry);
  });
}

bool QMAuthorization::authTrashFolderContents(const std::string& folder) {
  return authTrashFolderContents(folder, DeleteOnRootAccount::No);
}

bool QMAuthorization::authRemoveFile(const std::string& path) {
  if (isProtected(path, "Unable to delete path %@ because it is a system directory.")) return false;
  return authExecTask("/bin/rm", {"-Rdf", path}) == errAuthorizationSuccess;
}

#include "Uninstaller/AppController.h"

#include <chrono>
#include <string_view>

#include "Platform/FileSystem.h"
#include "Platform/MainThread.h"
#include "Platform/Platform.h"
#include "Platform/Threads.h"
#include "Platform/Trash.h"
#include "Platform/foundation/PathComponents.h"
#include "Shared/QMFileManager.h"
#include "Shared/QMLocalPaths.h"
#include "Shared/QMTask.h"

using qm::foundation::appendingPathComponent;
using qm::platform::platform;

namespace {

constexpr std::chrono::seconds kTrashLimit(10);

enum class Condition : bool { Always, RemoveConfig };

/// One item of the product: a standard folder, a name in it, and when it goes.
struct Item {
  std::optional<std::string> (*base)(UserDomain);
  UserDomain domain;
  std::string_view name;
  Condition condition;
};

constexpr auto kUser = UserDomain::Yes;
constexpr auto kLocal = UserDomain::No;

/// In the order in which they go. The preferences' two names differ only in case: where case does not
/// count, the second finds nothing.
constexpr Item kItems[] = {
    {QMLocalPaths::applicationDirectory, kLocal, "Quillmark/Tessaly.app", Condition::Always},
    {QMLocalPaths::applicationDirectory, kLocal, "Tessaly.app", Condition::Always},
    {QMLocalPaths::appSupportDirectory, kUser, "Quillmark/Tessaly/Caches", Condition::Always},
    {QMLocalPaths::cacheDirectory, kUser, "com.quillmark.tessaly", Condition::Always},
    {QMLocalPaths::prefsDirectory, kUser, "com.quillmark.Tessaly.plist", Condition::RemoveConfig},
    {QMLocalPaths::prefsDirectory, kUser, "com.quillmark.tessaly.plist", Condition::RemoveConfig},
    {QMLocalPaths::prefsDirectory, kLocal, "com.quillmark.Tessaly.plist", Condition::RemoveConfig},
    {QMLocalPaths::prefsDirectory, kLocal, "com.quillmark.tessaly.plist", Condition::RemoveConfig},
    {QMLocalPaths::libraryDirectory, kUser, "LaunchAgents/com.quillmark.Tessaly.plist", Condition::Always},
    {QMLocalPaths::libraryDirectory, kUser, "LaunchAgents/com.quillmark.TessalyProjectWatcher.plist",
     Condition::Always},
    {QMLocalPaths::libraryDirectory, kUser, "LaunchAgents/com.quillmark.Tessaly.autosave.plist", Condition::Always},
    {QMLocalPaths::libraryDirectory, kUser, "LaunchAgents/com.quillmark.OrvendelProjectWatcher.plist",
     Condition::Always},
};

bool isInReleaseFolder(const std::string& path) {
  return qm::foundation::lastPathComponent(qm::foundation::deletingLastPathComponent(path)) == "Release";
}

bool isInTrash(const std::string& path) {
  const auto trash = QMLocalPaths::trashDirectory();
  return trash && path.starts_with(*trash);
}

}  // namespace

void AppController::connect(const qm::platform::Outlets& outlets) { outlets_ = outlets; }

void AppController::trashFile(const std::optional<std::string>& path) {
  if (!path) return;
  if (isInReleaseFolder(*path)) return;
  if (path->find("/Structure/Applications/") != std::string::npos) return;
  if (isInTrash(*path)) return;
  if (!platform().fileSystem->fileExists(*path)) return;
  QMFileManager::trashFile(*path, kTrashLimit);
}

void AppController::cancel(const qm::platform::ActionSender* /*sender*/) { platform().userInterface->terminate(this); }

void AppController::endProgress() {
  outlets_.windowProgress->orderOut();
  platform().userInterface->runAlertPanel("Uninstall complete", "Items have been placed in your Trash.");
  platform().userInterface->terminate(this);
}

void AppController::beginUninstall() {
  const bool removeConfig = outlets_.removeConfigCheck->state() == qm::platform::kOnState;
  QMTask::runTask("/usr/bin/killall", std::vector<std::string>{"Tessaly"});
  trashItems(removeConfig);
  if (const auto applications = QMLocalPaths::applicationDirectory(kLocal)) {
    QMFileManager::removeFolderIfEmpty(appendingPathComponent(*applications, "Quillmark"));
  }
  platform().trash->makeDurable();
  platform().mainThread->performAndWait([this] { endProgress(); });
}

void AppController::trashItems(bool removeConfig) {
  for (const auto& item : kItems) {
    if (item.condition == Condition::RemoveConfig && !removeConfig) continue;
    trashFile(appendingPathComponent(item.base(item.domain), item.name));
  }
}

void AppController::uninstall(const qm::platform::ActionSender* /*sender*/) {
  outlets_.progressBar->setUsesThreadedAnimation(true);
  outlets_.progressBar->startAnimation();
  outlets_.windowProgress->makeKeyAndOrderFront();
  outlets_.windowMain->orderOut();
  // Without a thread to spare the interface stands still, but the run is the same.
  if (!platform().threads->detachNewThread([this] { beginUninstall(); })) beginUninstall();
}

void AppController::awakeFromNib() {}

#include "Uninstaller/AppController.h"

#include <chrono>
#include <string_view>

#include "Platform/AuthorizationServices.h"
#include "Platform/FileSystem.h"
#include "Platform/MainThread.h"
#include "Platform/Platform.h"
#include "Platform/Threads.h"
#include "Platform/Trash.h"
#include "Platform/foundation/PathComponents.h"
#include "Shared/QMFileManager.h"
#include "Shared/QMLocalPaths.h"
#include "Shared/QMTask.h"
#include "Uninstaller/ProductItems.h"

using qm::foundation::appendingPathComponent;
using qm::platform::platform;

namespace {

constexpr std::chrono::seconds kTrashLimit(10);

std::optional<std::string> folderPath(ItemFolder folder, ItemOwner owner) {
  const UserDomain domain = owner == ItemOwner::User ? UserDomain::Yes : UserDomain::No;
  switch (folder) {
    case ItemFolder::Applications:
      return QMLocalPaths::applicationDirectory(domain);
    case ItemFolder::ApplicationSupport:
      return QMLocalPaths::appSupportDirectory(domain);
    case ItemFolder::Caches:
      return QMLocalPaths::cacheDirectory(domain);
    case ItemFolder::Preferences:
      return QMLocalPaths::prefsDirectory(domain);
    case ItemFolder::Library:
      return QMLocalPaths::libraryDirectory(domain);
  }
  return std::nullopt;
}

bool isInReleaseFolder(const std::string& path) {
  return qm::foundation::lastPathComponent(qm::foundation::deletingLastPathComponent(path)) == "Release";
}

bool isInTrash(const std::string& path) {
  const auto trash = QMLocalPaths::trashDirectory();
  return trash && path.starts_with(*trash);
}

}  // namespace

void AppController::connect(const qm::uninstaller::Outlets& outlets) { outlets_ = outlets; }

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
  const bool removeConfig = outlets_.removeConfigCheck->state() == qm::uninstaller::kOnState;
  QMTask::runTask("/usr/bin/killall", std::vector<std::string>{"Tessaly"});
  trashItems(removeConfig);
  if (const auto applications = folderPath(ItemFolder::Applications, ItemOwner::Computer)) {
    QMFileManager::removeFolderIfEmpty(appendingPathComponent(*applications, kMakersFolder));
  }
  platform().trash->makeDurable();
  // The alert says that all is done: nothing works with administrator rights any more.
  platform().authorizationServices->releaseRights();
  platform().mainThread->performAndWait([this] { endProgress(); });
}

void AppController::trashItems(bool removeConfig) {
  for (const ProductItem& item : kProductItems) {
    if (item.condition == ItemCondition::RemoveConfig && !removeConfig) continue;
    trashFile(appendingPathComponent(folderPath(item.folder, item.owner), item.name));
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

// SPDX-License-Identifier: MIT
#include "Uninstaller/AppController.h"

#include <utility>

#include "Platform/MainThread.h"
#include "Platform/Platform.h"
#include "Platform/Threads.h"
#include "Shared/QMTask.h"
#include "Uninstaller/Language.h"
#include "Uninstaller/RemovalDetails.h"

using qm::platform::platform;
using qm::uninstaller::translated;

void AppController::connect(const qm::uninstaller::Outlets& outlets) { outlets_ = outlets; }

void AppController::trashFile(const std::optional<std::string>& path) { RemovalRun(observer_).trash({.path = path}); }

void AppController::cancel(const qm::platform::ActionSender* /*sender*/) { platform().userInterface->terminate(this); }

void AppController::endProgress() {
  outlets_.windowProgress->orderOut();
  platform().userInterface->runAlertPanel(translated("Uninstall complete"),
                                          translated("Items have been placed in your Trash."),
                                          removalDetails(stayedItems(report_)));
  platform().userInterface->terminate(this);
}

void AppController::beginUninstall() {
  const bool removesConfig = outlets_.removeConfigCheck->state() == qm::uninstaller::kOnState;
  QMTask::runTask("/usr/bin/killall", std::vector<std::string>{"Tessaly"});
  report_ = RemovalRun(observer_).removeProduct(removesConfig ? RemoveConfig::Yes : RemoveConfig::No);
  platform().mainThread->performAndWait([this] { endProgress(); });
}

void AppController::uninstall(const qm::platform::ActionSender* /*sender*/) {
  outlets_.progressBar->setUsesThreadedAnimation(true);
  outlets_.progressBar->startAnimation();
  outlets_.windowProgress->makeKeyAndOrderFront();
  outlets_.windowMain->orderOut();
  // If the system refuses a thread, the interface does not respond during the run, but the run is the same.
  if (!platform().threads->detachNewThread([this] { beginUninstall(); })) beginUninstall();
}

void AppController::awakeFromNib() {}

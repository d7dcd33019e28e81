// SPDX-License-Identifier: MIT
#include "Uninstaller/appkit/MainInterface.h"

#include <utility>

#include "Uninstaller/appkit/FrontEnd.h"
#include "Uninstaller/appkit/PlanView.h"

namespace qm::appkit {

MainInterface::MainInterface(std::unique_ptr<uninstaller::InterfaceOwner> owner, std::unique_ptr<Controls> controls)
    : owner_(std::move(owner)), controls_(std::move(controls)) {
  owner_->connect({.windowMain = &controls_->windowMain,
                   .removeSharedCheck = &controls_->removeSharedCheck,
                   .removeConfigCheck = &controls_->removeConfigCheck,
                   .windowProgress = &controls_->windowProgress,
                   .progressBar = &controls_->progressBar});
  owner_->awakeFromNib();
}

void MainInterface::send(Action action) {
  if (!takesActions_ || !controls_->windowMain.isShown()) return;
  takesActions_ = false;
  if (frontEnd().plan) frontEnd().plan->abandon();
  // The sender is null, because no action uses it.
  (*owner_.*action)(nullptr);
}

void MainInterface::followChoices() {
  if (!takesActions_) return;
  controls_->removeSharedCheck.follow();
  controls_->removeConfigCheck.follow();
}

}  // namespace qm::appkit

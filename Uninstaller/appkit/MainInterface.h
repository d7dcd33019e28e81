// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "Uninstaller/Interface.h"
#include "Uninstaller/appkit/Controls.h"

namespace qm::appkit {

/// The outlets that the interface file has connected, in their order.
struct Controls {
  Window windowMain;
  CheckBox removeSharedCheck;
  CheckBox removeConfigCheck;
  Window windowProgress;
  ProgressIndicator progressBar;
};

/// What the main interface file holds, loaded: its owner with the outlets connected. Main thread only.
///
/// The main window sends one action, while it is shown. Clicks, keys and close requests that come after it, or were
/// queued behind it, change nothing any more: they would start a second run, end the program in the middle of one, or
/// change a check box that the run has yet to read.
class MainInterface {
 public:
  using Action = void (uninstaller::InterfaceOwner::*)(const platform::ActionSender*);

  MainInterface(std::unique_ptr<uninstaller::InterfaceOwner> owner, std::unique_ptr<Controls> controls);

  /// Whether no action has been sent yet.
  bool takesActions() const { return takesActions_; }
  void send(Action action);
  /// A check box has been clicked.
  void followChoices();
  void showMainWindow() { controls_->windowMain.makeKeyAndOrderFront(); }

 private:
  std::unique_ptr<uninstaller::InterfaceOwner> owner_;
  std::unique_ptr<Controls> controls_;
  bool takesActions_ = true;
};

}  // namespace qm::appkit

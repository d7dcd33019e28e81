// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "Uninstaller/Interface.h"
#include "Uninstaller/appkit/Controls.h"

namespace qm::appkit {

/// The controls to which the interface file has connected the outlets.
struct Controls {
  Window windowMain;
  CheckBox removeSharedCheck;
  CheckBox removeConfigCheck;
  Window windowProgress;
  ProgressIndicator progressBar;
};

/// The loaded interface file: its owner, with the outlets connected. Main thread only.
///
/// The main window sends one action only, and only while it is shown. Clicks, keys and close requests that come later,
/// or were queued behind that action, have no effect. Otherwise they could start a second run, end the program in the
/// middle of a run, or change a check box that the run has not read yet.
class MainInterface {
 public:
  using Action = void (uninstaller::InterfaceOwner::*)(const platform::ActionSender*);

  MainInterface(std::unique_ptr<uninstaller::InterfaceOwner> owner, std::unique_ptr<Controls> controls);

  /// Whether no action has been sent yet.
  bool takesActions() const { return takesActions_; }
  void send(Action action);
  /// Call it when a check box has been clicked.
  void followChoices();
  void showMainWindow() { controls_->windowMain.makeKeyAndOrderFront(); }

 private:
  std::unique_ptr<uninstaller::InterfaceOwner> owner_;
  std::unique_ptr<Controls> controls_;
  bool takesActions_ = true;
};

}  // namespace qm::appkit

// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "Uninstaller/Interface.h"
#include "Uninstaller/RemovalRun.h"

/// The uninstall of Tessaly: a main window with Uninstall and Cancel, a progress window while a worker thread removes
/// the items one by one, an alert at the end. The progress window cannot be left: whatever fails, the run ends with the
/// alert and the application quits.
///
/// Created by the main interface file, which connects the outlets and sends the actions. Lives until the process ends,
/// with the worker possibly inside its last call.
class AppController : public qm::uninstaller::InterfaceOwner {
 public:
  AppController() = default;
  /// With an observer, the results say why items stayed. The observer outlives the controller, and its services are the
  /// installed ones.
  explicit AppController(RemovalObserver& observer) : observer_(&observer) {}

  void connect(const qm::uninstaller::Outlets& outlets) override;

  /// `trashFile:` (worker). Moves one item to the Trash, waiting up to 10 seconds. Does nothing for null, for an item
  /// in a folder named "Release", below "/Structure/Applications/", already in the Trash, or not there (a dangling link
  /// reads as not there).
  void trashFile(const std::optional<std::string>& path);

  /// `cancel:` (main thread). Ends the application.
  void cancel(const qm::platform::ActionSender* sender) override;
  /// `endProgress` (main thread). Closes the progress window, shows the alert, ends the application. If an item stayed,
  /// the alert's details say which and why.
  void endProgress();
  /// `beginUninstall` (worker). The whole run.
  void beginUninstall();
  /// `uninstall:` (main thread). Replaces the main window by the progress window, starts the worker and returns.
  void uninstall(const qm::platform::ActionSender* sender) override;
  /// `awakeFromNib`. Does nothing.
  void awakeFromNib() override;

 private:
  qm::uninstaller::Outlets outlets_;
  RemovalObserver* observer_ = nullptr;
  RemovalReport report_;  // written by the worker, which then waits for the main thread to read it
};

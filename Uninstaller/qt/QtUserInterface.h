// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/UserInterface.h"
#include "Uninstaller/qt/QtMainThread.h"

namespace qm::qt {

/// The application object, on Qt Widgets.
class QtUserInterface final : public platform::UserInterface {
 public:
  explicit QtUserInterface(QtMainThread& mainThread) : mainThread_(mainThread) {}

  void runAlertPanel(const std::string& title, const std::string& message, const std::string& details) override;
  /// May come before the event loop runs, which then never starts.
  void terminate(const platform::ActionSender* sender) override;

 private:
  QtMainThread& mainThread_;
};

}  // namespace qm::qt

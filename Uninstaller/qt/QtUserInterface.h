// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/UserInterface.h"
#include "Uninstaller/qt/QtMainThread.h"

namespace qm::qt {

/// Alerts and the end of the application, with Qt Widgets.
class QtUserInterface final : public platform::UserInterface {
 public:
  explicit QtUserInterface(QtMainThread& mainThread) : mainThread_(mainThread) {}

  void runAlertPanel(const std::string& title, const std::string& message, const std::string& details) override;
  /// May be called before the event loop runs. The loop is then never started.
  void terminate(const platform::ActionSender* sender) override;

 private:
  QtMainThread& mainThread_;
};

}  // namespace qm::qt

// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/UserInterface.h"

namespace qm::appkit {

/// The application object.
class UserInterface final : public platform::UserInterface {
 public:
  void runAlertPanel(const std::string& title, const std::string& message, const std::string& details) override;
  /// Does not return once the event loop has begun.
  void terminate(const platform::ActionSender* sender) override;

  /// Whether everything is done and the application may end. True once an alert is shown or `terminate` was called.
  /// Main thread only.
  bool isAtItsEnd() const { return isAtItsEnd_; }

 private:
  bool isAtItsEnd_ = false;
};

}  // namespace qm::appkit

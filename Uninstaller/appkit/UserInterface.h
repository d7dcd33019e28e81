// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/UserInterface.h"

namespace qm::appkit {

/// The application object.
class UserInterface final : public platform::UserInterface {
 public:
  void runAlertPanel(const std::string& title, const std::string& message, const std::string& details) override;
  /// Does not come back once the event loop has begun.
  void terminate(const platform::ActionSender* sender) override;

  /// Main thread. Whether everything is done, and the application is to end: from the alert on.
  bool isAtItsEnd() const { return isAtItsEnd_; }

 private:
  bool isAtItsEnd_ = false;
};

}  // namespace qm::appkit

// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace qm::platform {

/// The sender of an action: a control, a controller.
class ActionSender {
 public:
  virtual ~ActionSender() = default;
};

/// The application object. Main thread only.
class UserInterface {
 public:
  virtual ~UserInterface() = default;
  /// Shows an alert with the platform's default single button and returns when it is dismissed. With `details`, lines
  /// of text, it also has a "Details" button that shows them; "" means no details.
  virtual void runAlertPanel(const std::string& title, const std::string& message, const std::string& details) = 0;
  /// Ends the application: the event loop returns, or the toolkit ends the process. Callers that wait for the work that
  /// requested the end (see `MainThread::performAndWait`) keep waiting until the process is gone.
  virtual void terminate(const ActionSender* sender) = 0;
};

}  // namespace qm::platform

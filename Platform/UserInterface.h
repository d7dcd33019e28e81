#pragma once

#include <string>

namespace qm::platform {

/// Whoever sent an action: a control, a controller.
class ActionSender {
 public:
  virtual ~ActionSender() = default;
};

/// The application object. Main thread only.
class UserInterface {
 public:
  virtual ~UserInterface() = default;
  /// Shows an alert with the platform's default single button and returns when it is dismissed. Where there are
  /// `details`, lines of text, it has "Details" as well, which shows them in it; without them ("") it has not.
  virtual void runAlertPanel(const std::string& title, const std::string& message, const std::string& details) = 0;
  /// Ends the application, whether the event loop returns or the toolkit ends the process; callers that wait for the
  /// work that asked for it (see `MainThread::performAndWait`) stay waiting until the process is gone.
  virtual void terminate(const ActionSender* sender) = 0;
};

}  // namespace qm::platform

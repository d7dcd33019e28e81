// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/UserInterface.h"

/// The uninstaller's windows as its controller sees them. Each front end implements them in its own toolkit.
namespace qm::uninstaller {

/// A window of the interface. Main thread only.
class Window {
 public:
  virtual ~Window() = default;
  /// Shows the window in front and gives it the keyboard focus.
  virtual void makeKeyAndOrderFront() = 0;
  /// Hides the window. The application goes on without a visible window.
  virtual void orderOut() = 0;
};

/// The states of a check box, with the platform's numbers.
inline constexpr int kOffState = 0;
inline constexpr int kOnState = 1;

class CheckBox : public platform::ActionSender {
 public:
  /// `kOnState` or `kOffState`. Any thread: the worker reads it while the main thread draws.
  virtual int state() const = 0;
};

/// An indeterminate progress bar. Main thread only.
class ProgressIndicator {
 public:
  virtual ~ProgressIndicator() = default;
  /// Animation that goes on while the main thread does not draw, if the platform supports that.
  virtual void setUsesThreadedAnimation(bool threaded) = 0;
  virtual void startAnimation() = 0;
};

/// The outlets that the main interface file connects.
struct Outlets {
  Window* windowMain = nullptr;
  CheckBox* removeSharedCheck = nullptr;
  CheckBox* removeConfigCheck = nullptr;
  Window* windowProgress = nullptr;
  ProgressIndicator* progressBar = nullptr;
};

/// The object that the main interface file creates, wires and sends its actions to.
class InterfaceOwner : public platform::ActionSender {
 public:
  virtual void connect(const Outlets& outlets) = 0;
  virtual void awakeFromNib() = 0;
  virtual void uninstall(const platform::ActionSender* sender) = 0;
  virtual void cancel(const platform::ActionSender* sender) = 0;
};

}  // namespace qm::uninstaller

// SPDX-License-Identifier: MIT
#pragma once

#import <AppKit/AppKit.h>

#include <atomic>

#include "Uninstaller/Interface.h"

namespace qm::appkit {

/// A window from the interface file. The window outlives every call.
class Window final : public uninstaller::Window {
 public:
  explicit Window(NSWindow* window) : window_(window) {}

  void makeKeyAndOrderFront() override;
  void orderOut() override;
  bool isShown() const { return [window_ isVisible]; }

 private:
  NSWindow* window_;
};

/// A check box from the interface file. A copy of its state is kept, because the worker reads it and a button may be
/// used on the main thread only.
class CheckBox final : public uninstaller::CheckBox {
 public:
  explicit CheckBox(NSButton* button) : button_(button) { follow(); }

  int state() const override { return state_; }
  /// Main thread. Copies the button's state, which may have changed.
  void follow();

 private:
  NSButton* button_;
  std::atomic<int> state_{uninstaller::kOffState};
};

/// A progress bar from the interface file.
class ProgressIndicator final : public uninstaller::ProgressIndicator {
 public:
  explicit ProgressIndicator(NSProgressIndicator* bar) : bar_(bar) {}

  void setUsesThreadedAnimation(bool threaded) override;
  void startAnimation() override;

 private:
  NSProgressIndicator* bar_;
};

}  // namespace qm::appkit

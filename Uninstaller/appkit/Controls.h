// SPDX-License-Identifier: MIT
#pragma once

#import <AppKit/AppKit.h>

#include <atomic>

#include "Uninstaller/Interface.h"

namespace qm::appkit {

/// A window of the interface file's, which outlives every call.
class Window final : public uninstaller::Window {
 public:
  explicit Window(NSWindow* window) : window_(window) {}

  void makeKeyAndOrderFront() override;
  void orderOut() override;
  bool isShown() const { return [window_ isVisible]; }

 private:
  NSWindow* window_;
};

/// A check box of the interface file's. Its state is kept beside it: the worker asks for it, and a button is the main
/// thread's.
class CheckBox final : public uninstaller::CheckBox {
 public:
  explicit CheckBox(NSButton* button) : button_(button) { follow(); }

  int state() const override { return state_; }
  /// Main thread. The button may have another state now.
  void follow();

 private:
  NSButton* button_;
  std::atomic<int> state_{uninstaller::kOffState};
};

/// A progress bar of the interface file's.
class ProgressIndicator final : public uninstaller::ProgressIndicator {
 public:
  explicit ProgressIndicator(NSProgressIndicator* bar) : bar_(bar) {}

  void setUsesThreadedAnimation(bool threaded) override;
  void startAnimation() override;

 private:
  NSProgressIndicator* bar_;
};

}  // namespace qm::appkit

// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>

#include "Uninstaller/Interface.h"

class QCheckBox;
class QProgressBar;
class QWidget;

namespace qm::qt {

/// A top-level widget as a window. The widget outlives every call.
class QtWindow final : public uninstaller::Window {
 public:
  explicit QtWindow(QWidget& widget) : widget_(widget) {}

  void makeKeyAndOrderFront() override;
  void orderOut() override;

 private:
  QWidget& widget_;
};

/// A check box. A copy of its state is kept outside the widget. So any thread can read the state, also after the widget
/// has been destroyed.
class QtCheckBox final : public uninstaller::CheckBox {
 public:
  explicit QtCheckBox(const QCheckBox& box);

  int state() const override { return state_; }

 private:
  std::atomic<int> state_;
};

/// An indeterminate bar. Qt animates it from the event loop and has no animation on another thread. So the flag for a
/// threaded animation is accepted and has no effect.
class QtProgressIndicator final : public uninstaller::ProgressIndicator {
 public:
  explicit QtProgressIndicator(QProgressBar& bar) : bar_(bar) {}

  void setUsesThreadedAnimation(bool threaded) override;
  void startAnimation() override;

 private:
  QProgressBar& bar_;
};

}  // namespace qm::qt

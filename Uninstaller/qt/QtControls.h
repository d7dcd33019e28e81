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

/// A check box. Its state is mirrored outside the widget, so reading it touches no widget and goes on
/// working when the widget is gone.
class QtCheckBox final : public uninstaller::CheckBox {
 public:
  explicit QtCheckBox(const QCheckBox& box);

  int state() const override { return state_; }

 private:
  std::atomic<int> state_;
};

/// An indeterminate bar. Qt animates it from the event loop, and has no animation that goes on while the
/// main thread does not draw: the flag for that is accepted and changes nothing.
class QtProgressIndicator final : public uninstaller::ProgressIndicator {
 public:
  explicit QtProgressIndicator(QProgressBar& bar) : bar_(bar) {}

  void setUsesThreadedAnimation(bool threaded) override;
  void startAnimation() override;

 private:
  QProgressBar& bar_;
};

}  // namespace qm::qt

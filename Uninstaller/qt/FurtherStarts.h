// SPDX-License-Identifier: MIT
#pragma once

#include <QSocketNotifier>
#include <QTimer>
#include <memory>

#include "Platform/linux/system/SingleInstance.h"

namespace qm::qt {

/// When the program is started again, brings the window that is shown to the front, whichever it is. Made and destroyed
/// on the main thread, with an application object; the instance outlives it.
class FurtherStarts {
 public:
  explicit FurtherStarts(const linux_::SingleInstance& instance);

 private:
  void serve();

  const linux_::SingleInstance& instance_;
  std::unique_ptr<QSocketNotifier> notifier_;
  QTimer rest_;
};

/// Shows the program's window in front, also out of the task bar, and asks for the keyboard. Without a window nothing
/// happens.
void bringToFront();

}  // namespace qm::qt

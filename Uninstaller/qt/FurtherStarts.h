// SPDX-License-Identifier: MIT
#pragma once

#include <QSocketNotifier>
#include <QTimer>
#include <memory>

#include "Platform/linux/system/SingleInstance.h"

namespace qm::qt {

/// When the program is started again, brings the window that is shown to the front. Created and destroyed on the main
/// thread while there is an application object. The instance must outlive this object.
class FurtherStarts {
 public:
  explicit FurtherStarts(const linux_::SingleInstance& instance);

 private:
  void serve();

  const linux_::SingleInstance& instance_;
  std::unique_ptr<QSocketNotifier> notifier_;
  QTimer rest_;
};

/// Brings the program's window to the front, also if it is minimised, and requests the keyboard focus. Does nothing if
/// no window is shown.
void bringToFront();

}  // namespace qm::qt

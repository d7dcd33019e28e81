// SPDX-License-Identifier: MIT
#include "Uninstaller/qt/QtDescriptorWait.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QSocketNotifier>

#include "Platform/posix/process/Readable.h"

namespace qm::qt {

void QtDescriptorWait::waitUntilReadable(int descriptor) {
  if (posix::isReadable(descriptor, 0)) return;
  if (QCoreApplication::instance() == nullptr) {  // outside the application's life there are no events to serve
    posix::isReadable(descriptor, posix::kWithoutLimit);
    return;
  }
  QEventLoop loop;
  QSocketNotifier notifier(descriptor, QSocketNotifier::Read);
  QObject::connect(&notifier, &QSocketNotifier::activated, &loop, [&] {
    // The descriptor stays readable, and would wake a wait inside this one again and again.
    notifier.setEnabled(false);
    loop.quit();
  });
  loop.exec();
}

}  // namespace qm::qt

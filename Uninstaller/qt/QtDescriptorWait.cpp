// SPDX-License-Identifier: MIT
#include "Uninstaller/qt/QtDescriptorWait.h"

#include <poll.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QSocketNotifier>
#include <cerrno>

namespace qm::qt {

namespace {

constexpr int kNoTimeLimit = -1;

bool isReadable(int descriptor, int milliseconds) {
  pollfd entry{.fd = descriptor, .events = POLLIN, .revents = 0};
  int ready = 0;
  do {
    ready = ::poll(&entry, 1, milliseconds);
  } while (ready < 0 && errno == EINTR);
  return ready > 0;
}

}  // namespace

void QtDescriptorWait::waitUntilReadable(int descriptor) {
  if (isReadable(descriptor, 0)) return;
  if (QCoreApplication::instance() == nullptr) {  // outside the application's life there are no events to serve
    isReadable(descriptor, kNoTimeLimit);
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

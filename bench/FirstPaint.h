// SPDX-License-Identifier: MIT
#pragma once

#include <unistd.h>

#include <QApplication>
#include <QEvent>
#include <QObject>
#include <QWidget>

namespace qm::bench {

/// Writes a byte to standard output when the first window paints.
class FirstPaint : public QObject {
 public:
  bool eventFilter(QObject* object, QEvent* event) override {
    const auto* widget = qobject_cast<QWidget*>(object);
    if (event->type() == QEvent::Paint && widget != nullptr && widget->isWindow()) {
      if (::write(STDOUT_FILENO, "p", 1) != 1) ::_exit(1);
      qApp->removeEventFilter(this);
    }
    return false;
  }
};

}  // namespace qm::bench

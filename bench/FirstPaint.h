// SPDX-License-Identifier: MIT
#pragma once

#include <unistd.h>

#include <QApplication>
#include <QEvent>
#include <QObject>

namespace qm::bench {

/// Writes a byte to standard output when anything in the first window is painted. A window that its contents cover
/// completely is not painted itself.
class FirstPaint : public QObject {
 public:
  bool eventFilter(QObject* object, QEvent* event) override {
    if (event->type() == QEvent::Paint && object->isWidgetType()) {
      if (::write(STDOUT_FILENO, "p", 1) != 1) ::_exit(1);
      qApp->removeEventFilter(this);
    }
    return false;
  }
};

}  // namespace qm::bench

// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

class QGuiApplication;

namespace qm::qt {

/// Gives every window the program's icon: the desktop's theme's, or the one that is compiled in. It comes after the
/// first window is painted, which need not wait for the theme's files. Lives as long as the application object, or
/// shorter.
class WindowIcon final : public QObject {
 public:
  explicit WindowIcon(QGuiApplication& application);

  bool eventFilter(QObject* receiver, QEvent* event) override;
  void timerEvent(QTimerEvent* event) override;
};

}  // namespace qm::qt

// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

class QGuiApplication;

namespace qm::qt {

/// Gives every window the program's icon: that of the desktop's theme, or else the one that is compiled in. The icon is
/// set after the first window has been painted, so that the window does not wait for the theme's files. Does not
/// outlive the application object.
class WindowIcon final : public QObject {
 public:
  explicit WindowIcon(QGuiApplication& application);

  bool eventFilter(QObject* receiver, QEvent* event) override;
  void timerEvent(QTimerEvent* event) override;
};

}  // namespace qm::qt

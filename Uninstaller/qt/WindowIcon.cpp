// SPDX-License-Identifier: MIT
#include "Uninstaller/qt/WindowIcon.h"

#include <QEvent>
#include <QGuiApplication>
#include <QIcon>
#include <QTimerEvent>

// Qt requires this outside of every namespace.
static void keepResources() { Q_INIT_RESOURCE(Icon); }

namespace qm::qt {

namespace {

QIcon compiledIn() {
  keepResources();
  QIcon icon;
  for (const int size : {16, 32, 48, 64, 128}) icon.addFile(QString(":/icon/%1.png").arg(size), QSize(size, size));
  return icon;
}

void setIcon() { QGuiApplication::setWindowIcon(QIcon::fromTheme(QGuiApplication::desktopFileName(), compiledIn())); }

}  // namespace

WindowIcon::WindowIcon(QGuiApplication& application) { application.installEventFilter(this); }

bool WindowIcon::eventFilter(QObject* /*receiver*/, QEvent* event) {
  if (event->type() == QEvent::Paint) {
    qApp->removeEventFilter(this);
    startTimer(0);
  }
  return false;
}

void WindowIcon::timerEvent(QTimerEvent* event) {
  killTimer(event->timerId());
  setIcon();
}

}  // namespace qm::qt

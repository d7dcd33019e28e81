// SPDX-License-Identifier: MIT
#include "Uninstaller/qt/FreshKeys.h"

#include <QCoreApplication>
#include <QKeyEvent>

namespace qm::qt {

namespace {

bool walks(int key) {
  switch (key) {
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
    case Qt::Key_Left:
    case Qt::Key_Right:
    case Qt::Key_Up:
    case Qt::Key_Down:
      return true;
    default:
      return false;
  }
}

}  // namespace

FreshKeys::FreshKeys(QCoreApplication& application) { application.installEventFilter(this); }

bool FreshKeys::eventFilter(QObject* /*receiver*/, QEvent* event) {
  if (event->type() == QEvent::KeyRelease) {
    const auto* const release = static_cast<QKeyEvent*>(event);
    releasedKey_ = release->nativeScanCode();
    releaseTime_ = release->timestamp();
    return false;
  }
  // Before Qt delivers a press, it sends this event to ask whether a control handles the key itself. Accepting the
  // event keeps the key from the shortcuts.
  if (event->type() != QEvent::KeyPress && event->type() != QEvent::ShortcutOverride) return false;
  const auto& press = *static_cast<QKeyEvent*>(event);
  if (walks(press.key()) || !isRepeated(press)) return false;
  event->accept();
  return true;
}

/// An X server repeats a key by a release and a press with the same time. Qt marks them as a repetition if it sees both
/// together. If the press arrives a little later, only the time shows the repetition.
bool FreshKeys::isRepeated(const QKeyEvent& press) const {
  if (press.isAutoRepeat()) return true;
  return press.timestamp() != 0 && press.timestamp() == releaseTime_ && press.nativeScanCode() == releasedKey_;
}

}  // namespace qm::qt

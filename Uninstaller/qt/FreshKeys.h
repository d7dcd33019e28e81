// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

class QCoreApplication;
class QKeyEvent;

namespace qm::qt {

/// Keeps from every window the presses that a held key makes by itself: nothing is started, dismissed or ticked by a
/// key that nobody has pressed for it. Only the keys that walk from control to control may repeat. Lives as long as
/// the application object, or shorter.
class FreshKeys final : public QObject {
 public:
  explicit FreshKeys(QCoreApplication& application);

  bool eventFilter(QObject* receiver, QEvent* event) override;

 private:
  bool isRepeated(const QKeyEvent& press) const;

  quint32 releasedKey_ = 0;
  quint64 releaseTime_ = 0;
};

}  // namespace qm::qt

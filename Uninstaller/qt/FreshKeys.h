// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

class QCoreApplication;
class QKeyEvent;

namespace qm::qt {

/// Drops the automatic repetitions of a key that is held down, in every window. So such a key cannot start, dismiss or
/// tick anything that the user did not press it for. Only the keys that move the focus may repeat. Does not outlive the
/// application object.
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

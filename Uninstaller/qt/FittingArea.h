// SPDX-License-Identifier: MIT
#pragma once

#include <QScrollArea>

namespace qm::qt {

/// How large a window can be on its screen, beside what is the desktop's and with a title bar of its own.
QSize roomFor(const QWidget& window);

/// What a window holds, in the size that it wants. Where the screen is smaller than that, its texts wrap earlier, and
/// what is left over can be scrolled to: Tab shows what it comes to, and Page Up and Page Down show the rest.
class FittingArea final : public QScrollArea {
 public:
  /// Takes the window's layout, and is all that the window holds from then on. The window gets a fixed size, in which
  /// the texts have `wantedWidth`, or what the controls need, and follows when that changes.
  FittingArea(QWidget& window, int wantedWidth);

  QSize sizeHint() const override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QSize contentSize(int widestWidth) const;

  int wantedWidth_;
};

}  // namespace qm::qt

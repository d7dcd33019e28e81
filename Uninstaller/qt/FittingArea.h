// SPDX-License-Identifier: MIT
#pragma once

#include <QScrollArea>

namespace qm::qt {

/// How large the contents of a window can be on its screen, without the desktop's panels and the window's frame.
QSize roomFor(const QWidget& window);

/// Everything that a window shows, in the size that it needs. If the screen is smaller than that, texts wrap earlier,
/// and the area can be scrolled: Tab scrolls to the control that gets the focus, Page Up and Page Down to the rest.
class FittingArea final : public QScrollArea {
 public:
  /// Takes over the window's layout and becomes its only content. The user cannot resize the window. It is as wide as
  /// `wantedWidth` or as the controls need, and its size follows the content.
  FittingArea(QWidget& window, int wantedWidth);

  QSize sizeHint() const override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QSize contentSize(int widestWidth) const;

  int wantedWidth_;
};

}  // namespace qm::qt

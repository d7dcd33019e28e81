// SPDX-License-Identifier: MIT
#include "Uninstaller/qt/FittingArea.h"

#include <QEvent>
#include <QScreen>
#include <QStyle>
#include <QVBoxLayout>
#include <algorithm>

namespace qm::qt {

namespace {

/// A window is measured before it has its frame, so the frame's size is not known. Usual title bars and edges are no
/// larger than these.
constexpr int kTitleBar = 40;
constexpr int kEdge = 4;

}  // namespace

QSize roomFor(const QWidget& window) {
  const QSize screen = window.screen()->availableSize();
  return {screen.width() - (2 * kEdge), screen.height() - kTitleBar - kEdge};
}

FittingArea::FittingArea(QWidget& window, int wantedWidth) : QScrollArea(&window), wantedWidth_(wantedWidth) {
  setObjectName(window.objectName() + "Area");
  setFrameShape(QFrame::NoFrame);
  setFocusPolicy(Qt::NoFocus);
  setWidgetResizable(true);
  auto* const content = new QWidget;
  setWidget(content);
  content->setLayout(window.layout());
  auto* const around = new QVBoxLayout(&window);
  around->setContentsMargins(0, 0, 0, 0);
  around->setSizeConstraint(QLayout::SetFixedSize);
  around->addWidget(this);
}

QSize FittingArea::contentSize(int widestWidth) const {
  const QLayout& layout = *widget()->layout();
  const int narrowest = layout.totalMinimumSize().width();
  const int width = std::max(narrowest, std::min(wantedWidth_, widestWidth));
  return {width, layout.hasHeightForWidth() ? layout.totalHeightForWidth(width) : layout.totalSizeHint().height()};
}

QSize FittingArea::sizeHint() const {
  const QSize room = roomFor(*window());
  const QSize whole = contentSize(room.width());
  if (whole.height() <= room.height() && whole.width() <= room.width()) return whole;
  const int bar = style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, this);
  const QSize beside = contentSize(room.width() - bar);
  return QSize(beside.width() + bar, beside.height() + bar).boundedTo(room);
}

/// If something in the content changes, its layout requests a new size from this area.
bool FittingArea::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::LayoutRequest) updateGeometry();
  return QScrollArea::eventFilter(watched, event);
}

}  // namespace qm::qt

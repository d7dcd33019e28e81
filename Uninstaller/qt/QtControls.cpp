// SPDX-License-Identifier: MIT
#include "Uninstaller/qt/QtControls.h"

#include <QCheckBox>
#include <QProgressBar>
#include <QScreen>
#include <QWidget>
#include <algorithm>

#include "Uninstaller/qt/FittingArea.h"

namespace qm::qt {

namespace {

int stateNumber(bool checked) { return checked ? uninstaller::kOnState : uninstaller::kOffState; }

/// Moves a window to the middle of the screen, where alerts appear too. A window that would not fit there with its
/// frame is moved further up. If only the desktop may place windows, as on Wayland, this has no effect.
void centre(QWidget& window) {
  window.adjustSize();
  const QRect screen = window.screen()->availableGeometry();
  const QPoint middle = screen.center() - window.rect().center();
  const int lowest = screen.top() + roomFor(window).height() - window.height();
  window.move(middle.x(), std::min(middle.y(), lowest));
}

}  // namespace

void QtWindow::makeKeyAndOrderFront() {
  if (!widget_.isVisible()) centre(widget_);
  widget_.show();
  widget_.raise();
  widget_.activateWindow();
}

void QtWindow::orderOut() { widget_.hide(); }

QtCheckBox::QtCheckBox(const QCheckBox& box) : state_(stateNumber(box.isChecked())) {
  QObject::connect(&box, &QCheckBox::toggled, &box, [this](bool checked) { state_ = stateNumber(checked); });
}

void QtProgressIndicator::setUsesThreadedAnimation(bool /*threaded*/) {}

void QtProgressIndicator::startAnimation() { bar_.setRange(0, 0); }

}  // namespace qm::qt

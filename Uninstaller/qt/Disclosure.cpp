// SPDX-License-Identifier: MIT
#include "Uninstaller/qt/Disclosure.h"

#include <QToolButton>
#include <utility>

namespace qm::qt {

namespace {

void pointArrow(QToolButton& button, bool isOpen) {
  const Qt::ArrowType closed = button.isRightToLeft() ? Qt::LeftArrow : Qt::RightArrow;
  button.setArrowType(isOpen ? Qt::DownArrow : closed);
}

}  // namespace

void makeDisclosure(QToolButton& button, std::function<void(bool)> toggle) {
  button.setCheckable(true);
  button.setAutoRaise(true);
  button.setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  pointArrow(button, false);
  QObject::connect(&button, &QToolButton::toggled, &button, [&button, toggle = std::move(toggle)](bool isOpen) {
    pointArrow(button, isOpen);
    toggle(isOpen);
  });
}

}  // namespace qm::qt

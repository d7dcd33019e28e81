// SPDX-License-Identifier: MIT
#include "Uninstaller/qt/ReadableStyle.h"

#include <QPainter>
#include <QStyleOptionButton>
#include <QToolButton>

#include "Uninstaller/qt/SteadyCheckBox.h"

namespace qm::qt {

namespace {

/// Mixes three parts of the text's colour and two of the window's. The contrast is more than 3 : 1 in every theme whose
/// text has 7 : 1.
QColor frameColor(const QPalette& palette) {
  const QColor text = palette.color(QPalette::Active, QPalette::WindowText);
  const QColor window = palette.color(QPalette::Active, QPalette::Window);
  const auto mixed = [](int ofText, int ofWindow) { return ((3 * ofText) + (2 * ofWindow)) / 5; };
  return {mixed(text.red(), window.red()), mixed(text.green(), window.green()), mixed(text.blue(), window.blue())};
}

bool hasFocus(const QStyleOption& option) {
  return option.state.testFlag(QStyle::State_HasFocus) && option.state.testFlag(QStyle::State_KeyboardFocusChange);
}

/// A frame just inside of the rectangle.
void drawFrame(QPainter& painter, const QRect& rect, const QPen& pen, qreal radius) {
  const qreal half = pen.widthF() / 2;
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(pen);
  painter.setBrush(Qt::NoBrush);
  painter.drawRoundedRect(QRectF(rect).adjusted(half, half, -half, -half), radius, radius);
  painter.restore();
}

/// Draws the frame over the one that Fusion has drawn.
void drawBoxFrame(const QStyleOption& option, QPainter& painter) {
  const QPen strong(option.palette.color(QPalette::WindowText), 2);
  drawFrame(painter, option.rect, hasFocus(option) ? strong : QPen(frameColor(option.palette), 1), 0);
}

/// The button that Return presses keeps the frame of another colour that Fusion gives it.
void drawButtonFrame(const QStyleOptionButton& option, QPainter& painter) {
  if (option.features.testFlag(QStyleOptionButton::DefaultButton) || hasFocus(option)) return;
  drawFrame(painter, option.rect, QPen(frameColor(option.palette), 1), 2);
}

QStyleOptionButton steadyOption(const QStyleOptionButton& option) {
  QStyleOptionButton steady(option);
  steady.palette.setColor(QPalette::Base, option.palette.color(QPalette::Window));
  steady.palette.setColor(QPalette::Text, frameColor(option.palette));
  return steady;
}

/// In a language that is written from right to left Fusion mirrors a button's text but not its arrow. This mirrors the
/// arrow's place.
QStyleOption mirroredArrow(const QStyleOption& option, const QWidget& button) {
  QStyleOption arrow(option);
  arrow.type = QStyleOption::SO_Default;
  arrow.rect = QStyle::visualRect(option.direction, button.rect(), option.rect);
  return arrow;
}

}  // namespace

void ReadableStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                                  const QWidget* widget) const {
  const auto drawAs = [&](const QStyleOption& drawn) { QProxyStyle::drawPrimitive(element, &drawn, painter, widget); };
  const auto* const button = qstyleoption_cast<const QStyleOptionButton*>(option);
  const bool isArrow =
      element == PE_IndicatorArrowLeft || element == PE_IndicatorArrowRight || element == PE_IndicatorArrowDown;
  if (baseStyle()->name() != "fusion") return drawAs(*option);
  if (element == PE_IndicatorCheckBox && button != nullptr) {
    const bool isSteady = dynamic_cast<const SteadyCheckBox*>(widget) != nullptr;
    drawAs(isSteady ? steadyOption(*button) : *button);
    drawBoxFrame(*option, *painter);
  } else if (element == PE_PanelButtonCommand && button != nullptr) {
    drawAs(*button);
    drawButtonFrame(*button, *painter);
  } else if (element == PE_FrameFocusRect && option->state.testFlag(State_KeyboardFocusChange)) {
    drawAs(*option);
    drawFrame(*painter, option->rect, QPen(frameColor(option->palette), 1), 1);
  } else if (isArrow && qobject_cast<const QToolButton*>(widget) != nullptr) {
    drawAs(mirroredArrow(*option, *widget));
  } else {
    drawAs(*option);
  }
}

}  // namespace qm::qt

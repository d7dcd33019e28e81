// SPDX-License-Identifier: MIT
#pragma once

#include <QProxyStyle>

namespace qm::qt {

/// Makes controls stand out for people with low vision, who need a contrast of 3 : 1. Fusion derives the frames of
/// boxes and buttons from the window's colour alone, which is 1.6 : 1 in a light window and less in a dark one, and
/// marks the focus by a pale shade. Here frames are made of the text's colour too, so that they follow every theme, and
/// the control with the focus has a stronger one. Other styles than Fusion draw as they do.
///
/// A box that cannot be changed has no field of its own, and its tick has the frame's colour. The arrow of a button is
/// mirrored with its text.
class ReadableStyle final : public QProxyStyle {
 public:
  void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
};

}  // namespace qm::qt

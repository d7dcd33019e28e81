// SPDX-License-Identifier: MIT
#pragma once

#include <QProxyStyle>

namespace qm::qt {

/// Makes controls stand out for people with low vision, who need a contrast of 3 : 1. Fusion derives the frames of
/// boxes and buttons from the window's colour alone. Their contrast is 1.6 : 1 in a light window and less in a dark
/// one, and the focus is marked by a pale shade. This style mixes the frames from the colours of text and window, so
/// that they follow every theme. A check box with the focus has a stronger frame. Controls of other base styles are
/// drawn unchanged.
///
/// A box that cannot be changed has the window's colour inside, and its tick has the frame's colour. The arrow of a
/// button is mirrored with its text.
class ReadableStyle final : public QProxyStyle {
 public:
  void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
};

}  // namespace qm::qt

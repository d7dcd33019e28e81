// SPDX-License-Identifier: MIT
#pragma once

#include <QCheckBox>

namespace qm::qt {

/// A check box that shows the user what is done in any case. It takes the focus, so that a screen reader reads it, but
/// a press does not change it.
class SteadyCheckBox final : public QCheckBox {
 public:
  using QCheckBox::QCheckBox;

 protected:
  void nextCheckState() override {}
};

}  // namespace qm::qt

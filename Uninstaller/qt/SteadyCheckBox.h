// SPDX-License-Identifier: MIT
#pragma once

#include <QCheckBox>

namespace qm::qt {

/// A check box that says what is done in any case. It can be reached and read, and stays as it is when it is pressed.
class SteadyCheckBox final : public QCheckBox {
 public:
  using QCheckBox::QCheckBox;

 protected:
  void nextCheckState() override {}
};

}  // namespace qm::qt

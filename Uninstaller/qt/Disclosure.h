// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

class QToolButton;

namespace qm::qt {

/// Makes a button one with an arrow that shows and hides what belongs to it. Closed at first. `toggle` is called with
/// whether that is shown from now on, and lives as long as the button.
void makeDisclosure(QToolButton& button, std::function<void(bool)> toggle);

}  // namespace qm::qt

// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

class QToolButton;

namespace qm::qt {

/// Gives a button an arrow. Each press opens or closes the content that belongs to the button, which is closed at
/// first. `toggle` is called with true on opening and with false on closing. The function is kept as long as the
/// button.
void makeDisclosure(QToolButton& button, std::function<void(bool)> toggle);

}  // namespace qm::qt

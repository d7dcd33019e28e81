// SPDX-License-Identifier: MIT
#include "Uninstaller/appkit/FreshKeys.h"

namespace qm::appkit {

bool walksFromControlToControl(char16_t character) {
  return character == kTab || character == kBackTab || (character >= kUpArrow && character <= kRightArrow);
}

void FreshKeys::release(std::size_t key, double time) {
  if (key < kKeyCodes && time > held_.time) held_.keys.reset(key);
}

bool FreshKeys::takes(const KeyPress& press) const {
  return press.walks || !(press.isRepeat || isOlderThanTheWindow(press));
}

/// Whether the key was already down when the window got the keyboard. A press before that moment is accepted: it has
/// waited in the queue of events, and it is the reason why the key was found down.
bool FreshKeys::isOlderThanTheWindow(const KeyPress& press) const {
  return press.key < kKeyCodes && held_.keys[press.key] && press.time > held_.time;
}

}  // namespace qm::appkit

// SPDX-License-Identifier: MIT
#include "Uninstaller/appkit/FreshKeys.h"

namespace qm::appkit {

void FreshKeys::release(std::size_t key, double time) {
  if (key < kKeyCodes && time > held_.time) held_.keys.reset(key);
}

bool FreshKeys::takes(const KeyPress& press) const {
  return press.walks || !(press.isRepeat || isOlderThanTheWindow(press));
}

/// A press that was made before the look at the keyboard, and waited, is why the key was seen held.
bool FreshKeys::isOlderThanTheWindow(const KeyPress& press) const {
  return press.key < kKeyCodes && held_.keys[press.key] && press.time > held_.time;
}

}  // namespace qm::appkit

#include "Uninstaller/appkit/FreshKeys.h"

namespace qm::appkit {

/// Where a system repeats a key by a release and a press of the same moment, the key is still held.
void FreshKeys::release(std::size_t key, double time) {
  if (key < kKeyCodes && time > held_.time) held_.keys.reset(key);
  releasedKey_ = key;
  releaseTime_ = time;
}

bool FreshKeys::takes(const KeyPress& press) const {
  if (press.walks) return true;
  if (press.isRepeat || isOlderThanTheWindow(press)) return false;
  return press.key != releasedKey_ || press.time != releaseTime_;
}

/// A press that was made before the look at the keyboard, and waited, is why the key was seen held.
bool FreshKeys::isOlderThanTheWindow(const KeyPress& press) const {
  return press.key < kKeyCodes && held_.keys[press.key] && press.time > held_.time;
}

}  // namespace qm::appkit

// SPDX-License-Identifier: MIT
#pragma once

#include <bitset>
#include <cstddef>

namespace qm::appkit {

/// The keys that a keyboard may have, by their codes.
constexpr std::size_t kKeyCodes = 256;
using Keys = std::bitset<kKeyCodes>;

/// Which keys are held at a moment of the events' own clock.
struct HeldKeys {
  Keys keys;
  double time = 0;
};

/// A key that goes down, as an event tells it.
struct KeyPress {
  std::size_t key = 0;
  double time = 0;
  bool isRepeat = false;  ///< the system says that the key was down already
  bool walks = false;     ///< the key leads from one control to another
};

/// Tells the presses that somebody makes from those that a held key makes by itself: nothing is started, dismissed or
/// ticked by a key that nobody has pressed for it. Only the keys that walk from control to control may repeat.
class FreshKeys {
 public:
  /// A window has got the keyboard while these keys were held. What was pressed elsewhere counts again when it has been
  /// released.
  void hold(const HeldKeys& held) { held_ = held; }
  /// A key has been released.
  void release(std::size_t key, double time);
  /// Whether a window is to have this press.
  bool takes(const KeyPress& press) const;

 private:
  bool isOlderThanTheWindow(const KeyPress& press) const;

  HeldKeys held_;
};

}  // namespace qm::appkit

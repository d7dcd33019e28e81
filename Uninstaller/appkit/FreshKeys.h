// SPDX-License-Identifier: MIT
#pragma once

#include <bitset>
#include <cstddef>

namespace qm::appkit {

/// The keys that a keyboard may have, by their codes.
constexpr std::size_t kKeyCodes = 256;
using Keys = std::bitset<kKeyCodes>;

/// The characters of keys, as AppKit reports them.
inline constexpr char16_t kTab = 0x0009;
inline constexpr char16_t kBackTab = 0x0019;
inline constexpr char16_t kUpArrow = 0xF700;
inline constexpr char16_t kDownArrow = 0xF701;
inline constexpr char16_t kLeftArrow = 0xF702;
inline constexpr char16_t kRightArrow = 0xF703;

/// Whether the key with this character moves the focus from one control to another.
bool walksFromControlToControl(char16_t character);

/// Which keys are down at a moment, on the clock of the events.
struct HeldKeys {
  Keys keys;
  double time = 0;
};

/// A key press, as an event reports it.
struct KeyPress {
  std::size_t key = 0;
  double time = 0;
  bool isRepeat = false;  ///< the system reports that the key was already down
  bool walks = false;     ///< the key moves the focus from one control to another
};

/// Distinguishes a fresh press of a key from the repetition of a key that is held. So a key that was not pressed for a
/// window starts, dismisses or ticks nothing in it. Only keys that move the focus may repeat.
class FreshKeys {
 public:
  /// Call it when a window gets the keyboard, with the keys that are down at that moment. A key that was pressed
  /// elsewhere is accepted again after it has been released.
  void hold(const HeldKeys& held) { held_ = held; }
  /// A key has been released.
  void release(std::size_t key, double time);
  /// Whether the press is passed on to a window.
  bool takes(const KeyPress& press) const;

 private:
  bool isOlderThanTheWindow(const KeyPress& press) const;

  HeldKeys held_;
};

}  // namespace qm::appkit

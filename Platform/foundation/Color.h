// SPDX-License-Identifier: MIT
#pragma once

namespace qm::foundation {

/// A calibrated colour by hue, saturation and brightness, each from 0 to 1.
struct Color {
  double hue = 0;         ///< red at 0 and 1
  double saturation = 0;  ///< grey at 0
  double brightness = 0;  ///< black at 0
  double alpha = 1;       ///< opaque at 1

  /// Whether all four are equal.
  bool operator==(const Color&) const = default;
};

}  // namespace qm::foundation

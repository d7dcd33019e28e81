#pragma once

namespace qm::foundation {

/// A calibrated colour by hue, saturation and brightness, each from 0 to 1.
struct Color {
  double hue = 0;
  double saturation = 0;
  double brightness = 0;
  double alpha = 1;

  bool operator==(const Color&) const = default;
};

}  // namespace qm::foundation

// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

namespace qm::appkit {

/// What a screen reader says about a control.
struct Description {
  std::optional<std::string> label;
  std::optional<std::string> help;
};

/// The description in the user's language. Null without a label: such a control keeps the description that the toolkit
/// gives it.
std::optional<Description> translatedDescription(const Description& english);

}  // namespace qm::appkit

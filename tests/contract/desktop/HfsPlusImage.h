// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace qm::testing {

/// The bytes of an empty HFS+ volume of 4 MiB, whose root folder anybody may write to.
std::string emptyHfsPlusVolume();

}  // namespace qm::testing

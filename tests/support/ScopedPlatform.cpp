// SPDX-License-Identifier: MIT
#include "tests/support/ScopedPlatform.h"

namespace qm::testing {

ScopedPlatform::ScopedPlatform(const platform::Platform& services) : previous_(platform::install(&services)) {}

ScopedPlatform::~ScopedPlatform() { platform::install(previous_); }

}  // namespace qm::testing

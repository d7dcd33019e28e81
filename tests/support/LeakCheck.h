// SPDX-License-Identifier: MIT
#pragma once

namespace qm::testing {

/// From now on, a sanitizer does not check this process for leaks at its end.
void skipLeakCheck();

}  // namespace qm::testing

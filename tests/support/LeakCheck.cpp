// SPDX-License-Identifier: MIT
#include "tests/support/LeakCheck.h"

#include <atomic>

namespace {

std::atomic<bool> isSkipped{false};

}  // namespace

/// Asked by a sanitizer.
extern "C" int __lsan_is_turned_off() { return isSkipped ? 1 : 0; }

namespace qm::testing {

void skipLeakCheck() { isSkipped = true; }

}  // namespace qm::testing

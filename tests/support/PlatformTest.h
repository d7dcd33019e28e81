// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include "Shared/QMAuthorization.h"
#include "tests/fakes/FakePlatform.h"
#include "tests/support/ScopedPlatform.h"
#include "tests/support/SingletonReset.h"

namespace qm::testing {

/// A test on a fake machine of its own, in a process where neither the log nor the authorization has
/// been used yet. Its program links `fakes`.
class PlatformTest : public ::testing::Test {
 protected:
  /// Threads that were left waiting end while the services still exist.
  void TearDown() override { fakes.end(); }

  FakePlatform fakes;

 private:
  ScopedPlatform installed_{fakes.platform};
  SingletonReset<QMAuthorization> authorization_;
  SingletonReset<QMLog> log_;
};

}  // namespace qm::testing

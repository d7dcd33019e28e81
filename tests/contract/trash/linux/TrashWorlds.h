// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "tests/contract/trash/FakeTrashWorld.h"
#include "tests/contract/trash/RealTrashWorld.h"

namespace qm::testing {

/// Each of them runs the same cases.
using TrashWorlds = ::testing::Types<FakeTrashWorld, RealTrashWorld>;

struct TrashWorldNames {
  template <class World>
  static std::string GetName(int /*index*/) {
    return std::is_same_v<World, RealTrashWorld> ? "Real" : "Fake";
  }
};

}  // namespace qm::testing

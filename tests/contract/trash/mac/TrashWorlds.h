// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "tests/contract/trash/FakeTrashWorld.h"

namespace qm::testing {

/// The cases name the folders of freedesktop.org's Trash, which a Mac does not have.
using TrashWorlds = ::testing::Types<FakeTrashWorld>;

struct TrashWorldNames {
  template <class World>
  static std::string GetName(int /*index*/) {
    return "Fake";
  }
};

}  // namespace qm::testing

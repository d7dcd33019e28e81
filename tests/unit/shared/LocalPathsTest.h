// SPDX-License-Identifier: MIT
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Shared/QMLocalPaths.h"
#include "tests/support/PlatformTest.h"

namespace qm::testing {

/// Searches and home folders asked for, in order.
inline std::vector<std::string> lookups(const FakePlatform& fakes) {
  std::vector<std::string> asked = fakes.calls.everything();
  std::erase_if(asked, [](const std::string& call) {
    return !call.starts_with("standardDirectories.") && !call.starts_with("users.home");
  });
  return asked;
}

/// Root, with anna at the console.
inline void becomeRootForAnna(FakePlatform& fakes) {
  fakes.users.addUser("anna", "/Users/anna");
  fakes.actAsRoot("anna");
}

}  // namespace qm::testing

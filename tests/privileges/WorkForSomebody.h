// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "tests/fakes/FakePlatform.h"
#include "tests/privileges/Race.h"

namespace qm::testing {

/// A root process with the user "sam" at the console, whose home and Trash are those of the races.
class WorkForSomebody : public ::testing::Test {
 protected:
  static void run(const std::function<void(FakePlatform&)>& body);

  /// "home/link", which leads to `likeness`, and `part` of the home are exchanged continuously while `work` is running;
  /// "precious" stays unchanged.
  static void raceAgainstSwaps(const std::string& name, const std::string& part, const std::string& likeness,
                               const std::function<void(Race&)>& work);
};

}  // namespace qm::testing

// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "tests/privileges/PolkitMachine.h"

namespace qm::testing {

std::string fileText(const std::string& path);

/// Administrator rights end to end: the real message bus, polkit, pkexec, helper and agents, for an ordinary user and
/// for an administrator. Nothing is left of any case: no process, no file, no account, no mount.
class AdministratorRights : public ::testing::TestWithParam<Account> {
 protected:
  void SetUp() override;
  void TearDown() override;

 private:
  std::string programsBefore_;
  std::string before_;
};

}  // namespace qm::testing

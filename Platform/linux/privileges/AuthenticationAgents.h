// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/linux/privileges/ChildProgram.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// Registers an agent program that answers this process's next password dialog with credentials. The credentials reach
/// the agent through a pipe and are wiped here as soon as they are sent. The destructor ends the agent.
class CredentialsAgent {
 public:
  /// Returns true once dialogs of this process go to the agent.
  bool start(const std::string& program, const std::string& user, const std::string& password);

 private:
  ChildProgram child_;
  posix::UniqueFd input_;
};

/// Asks this process's password questions at its terminal. The destructor ends the agent.
class TerminalAgent {
 public:
  /// Returns true once questions of this process go to the agent.
  bool start(const std::string& program);

 private:
  ChildProgram child_;
};

}  // namespace qm::linux_

#pragma once

#include <string>

#include "Platform/linux/privileges/ChildProgram.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// Has this process's next question for a password answered with credentials, by a program of its own. They
/// reach it through a pipe and are wiped here as soon as they are sent. Ends with its scope.
class CredentialsAgent {
 public:
  /// True once questions of this process go to it.
  bool start(const std::string& program, const std::string& user, const std::string& password);

 private:
  ChildProgram child_;
  posix::UniqueFd input_;
};

/// Has this process's questions for a password asked at its terminal. Ends with its scope.
class TerminalAgent {
 public:
  /// True once questions of this process go to it.
  bool start(const std::string& program);

 private:
  ChildProgram child_;
};

}  // namespace qm::linux_

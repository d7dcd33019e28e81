// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/Clock.h"
#include "Platform/Console.h"

namespace qm::linux_ {

/// Standard error and, if the machine has one, the system journal.
///
/// On standard error a message is one write of "DATE NAME[PID]: MESSAGE\n", so that messages of several threads do not
/// mix. Newlines inside it stay, and other control characters, which a terminal would obey, become blanks. The journal
/// gets the message alone, verbatim. If standard error is the journal already, the message is written there once. A
/// console that accepts nothing is skipped. A broken pipe is ignored only if the program ignores SIGPIPE.
class SystemConsole : public platform::Console {
 public:
  /// `name` stands for the program on standard error and in the journal.
  SystemConsole(const platform::Clock& clock, std::string name);

  void print(std::string_view text) override;

 private:
  void printToStandardError(std::string_view text) const;
  void printToJournal(std::string_view text) const;

  const platform::Clock& clock_;
  const std::string name_;
  const bool journal_;
};

}  // namespace qm::linux_

#pragma once

#include <string>

#include "Platform/Clock.h"
#include "Platform/Console.h"

namespace qm::linux_ {

/// Standard error and, where the machine has one, the system journal.
///
/// On standard error a message is one write of "DATE NAME[PID]: MESSAGE\n", so that the messages of several threads
/// stand one after the other; line ends inside it stay, and other control characters, which a terminal would obey,
/// become blanks. The journal gets the message alone, as it stands. When standard error is the journal already, the
/// message goes there once. A console that takes nothing is passed over. A broken pipe counts as such only while
/// SIGPIPE is ignored, which is up to the program.
class SystemConsole : public platform::Console {
 public:
  /// `name` stands for the program, on both.
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

#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Users.h"
#include "Platform/posix/rights/UserDatabase.h"
#include "Uninstaller/remove/Options.h"

namespace qm::removal {

/// Whom a run is for.
struct Concerned {
  std::vector<posix::UserRecord> persons;  ///< each with a home folder of his or her own
  std::string systemTrashOf;               ///< whose Trash the computer's items go to
};

/// The accounts of a computer.
struct Accounts {
  posix::UserRecord caller;
  std::optional<std::string> console;  ///< as `Users::consoleUser` gives it
  std::function<std::optional<posix::UserRecord>(const std::string& name)> named;
  std::function<std::vector<posix::UserRecord>()> ordinary;  ///< those of persons, not of services
};

/// This computer's. Ordinary accounts are those whose numbers lie in the range that the system gives to persons.
Accounts systemAccounts(const platform::Users& users);

struct Choice {
  Concerned concerned;
  int status = kNothingLeft;  ///< with a problem, the status that the program ends with
  std::string problem;        ///< why there is nobody to work for, one sentence; "" otherwise
};

/// Whom the command line means. Nobody but root may mean others.
Choice choosePersons(const Options& options, const Accounts& accounts);

}  // namespace qm::removal

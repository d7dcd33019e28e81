// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Users.h"
#include "Platform/posix/rights/UserDatabase.h"
#include "Uninstaller/remove/Options.h"

namespace qm::removal {

/// The users that a run is for.
struct Concerned {
  std::vector<posix::UserRecord> persons;  ///< each with a home folder of their own
  std::string systemTrashOf;               ///< whose Trash the computer's items go to
};

/// The range of user ids for people. Other accounts belong to services.
struct NumbersOfPersons {
  uid_t first = 0;
  uid_t last = 0;
};

/// On a Mac accounts of people have ids from 501 on, and those of services lower ones. The account "nobody" (-2) is
/// above the range.
inline constexpr NumbersOfPersons kNumbersOfPersonsOnAMac{501, 0x7ffffffe};

/// The accounts with an id in that range.
std::vector<posix::UserRecord> personsAmong(std::vector<posix::UserRecord> accounts, const NumbersOfPersons& numbers);

/// The accounts of a computer.
struct Accounts {
  posix::UserRecord caller;
  std::optional<std::string> console;  ///< as `Users::consoleUser` returns it
  std::function<std::optional<posix::UserRecord>(const std::string& name)> named;
  std::function<std::vector<posix::UserRecord>()> ordinary;  ///< those of people, not of services
};

/// This computer's accounts. Ordinary accounts are those with an id in the range for people.
Accounts systemAccounts(const platform::Users& users);

struct Choice {
  Concerned concerned;
  int status = kNothingLeft;  ///< the exit status if there is a problem
  std::string problem;        ///< why there is nobody to work for, one sentence in the user's language; "" otherwise
};

/// The users that the command line selects. Only root may select others.
Choice choosePersons(const Options& options, const Accounts& accounts);

}  // namespace qm::removal

// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/Persons.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

#include "Platform/foundation/ControlCharacters.h"
#include "Uninstaller/Language.h"
#include "Uninstaller/remove/ThisSystem.h"

namespace qm::removal {
namespace {

using posix::UserRecord;
using uninstaller::translated;

constexpr const char* kLoginScreen = "loginwindow";
constexpr const char* kRoot = "root";

std::vector<UserRecord> ordinaryAccounts() { return personsAmong(posix::listedUsers(), numbersOfPersons()); }

bool hasHome(const UserRecord& user) { return user.home.size() > 1 && user.home.starts_with('/'); }

/// A home that two accounts share is examined once, for the first of them.
void addPerson(std::vector<UserRecord>& persons, UserRecord person) {
  const bool isThere = std::ranges::any_of(
      persons, [&](const UserRecord& each) { return each.id == person.id || each.home == person.home; });
  if (!isThere) persons.push_back(std::move(person));
}

std::optional<std::string> personAtConsole(const Accounts& accounts) {
  return accounts.console == kLoginScreen ? std::nullopt : accounts.console;
}

Choice problem(int status, std::string text) { return {{}, status, std::move(text)}; }

/// The computer's items go to root's own Trash, where nobody else can change them before they come back.
Choice chosen(std::vector<UserRecord> persons) {
  Choice choice;
  choice.concerned.systemTrashOf = kRoot;
  choice.concerned.persons = std::move(persons);
  return choice;
}

Choice personsNamed(const std::vector<std::string>& names, const Accounts& accounts) {
  std::vector<UserRecord> persons;
  for (const std::string& name : names) {
    const auto person = accounts.named(name);
    const uninstaller::Values shown = {{"user", foundation::replacingControlCharacters(name, '?')}};
    if (!person) return problem(kUsage, translated("There is no user \"{user}\" on this computer.", shown));
    if (!hasHome(*person)) return problem(kUsage, translated("The user \"{user}\" has no home folder.", shown));
    addPerson(persons, *person);
  }
  return chosen(std::move(persons));
}

Choice everybody(const Accounts& accounts) {
  std::vector<UserRecord> persons;
  for (UserRecord& person : accounts.ordinary()) {
    if (hasHome(person)) addPerson(persons, std::move(person));
  }
  return chosen(std::move(persons));
}

std::string optionForRoot(const Options& options) {
  if (!options.users.empty()) return "--user";
  if (options.allUsers) return "--all-users";
  return options.systemOnly ? "--system-only" : "";
}

Choice forCaller(const Options& options, const Accounts& accounts) {
  const std::string option = optionForRoot(options);
  if (!option.empty()) return problem(kRightsMissing, translated("{option} requires root.", {{"option", option}}));
  return {{{accounts.caller}, accounts.caller.name}, kNothingLeft, ""};
}

}  // namespace

std::vector<UserRecord> personsAmong(std::vector<UserRecord> accounts, const NumbersOfPersons& numbers) {
  std::erase_if(accounts, [&](const UserRecord& each) { return each.id < numbers.first || each.id > numbers.last; });
  return accounts;
}

Accounts systemAccounts(const platform::Users& users) {
  Accounts accounts;
  accounts.caller = {users.realUserId(), ::getgid(), users.userName(), users.homeDirectory()};
  accounts.console = users.consoleUser();
  accounts.named = posix::userWithName;
  accounts.ordinary = ordinaryAccounts;
  return accounts;
}

Choice choosePersons(const Options& options, const Accounts& accounts) {
  if (accounts.caller.id != 0) return forCaller(options, accounts);
  if (options.systemOnly) return chosen({});
  if (options.allUsers) return everybody(accounts);
  if (!options.users.empty()) return personsNamed(options.users, accounts);
  const auto console = personAtConsole(accounts);
  if (console) return personsNamed({*console}, accounts);
  return problem(kUsage,
                 translated("Nobody is logged in at the computer: choose with --user, --all-users or --system-only."));
}

}  // namespace qm::removal

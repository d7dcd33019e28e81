// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/Persons.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace qm::removal {
namespace {

using posix::UserRecord;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Names = std::vector<std::string>;

const UserRecord kRoot{0, 0, "root", "/root"};
const UserRecord kSam{1001, 1001, "sam", "/home/sam"};
const UserRecord kAnna{1002, 1002, "anna", "/home/anna"};
const UserRecord kHomeless{1003, 1003, "ghost", "/"};
const UserRecord kShares{1004, 1004, "otto", "/home/anna"};

/// A computer with these accounts, and the caller.
Accounts accountsFor(const UserRecord& caller, const std::optional<std::string>& console = std::nullopt) {
  const std::vector<UserRecord> known = {kRoot, kSam, kAnna, kHomeless, kShares};
  Accounts accounts;
  accounts.caller = caller;
  accounts.console = console;
  accounts.named = [known](const std::string& name) {
    const auto found = std::ranges::find(known, name, &UserRecord::name);
    return found == known.end() ? std::nullopt : std::optional(*found);
  };
  accounts.ordinary = [known] { return std::vector<UserRecord>(known.begin() + 1, known.end()); };
  return accounts;
}

Options forUsers(const Names& users) {
  Options options;
  options.users = users;
  return options;
}

Options forAllUsers() {
  Options options;
  options.allUsers = true;
  return options;
}

Options forSystemOnly() {
  Options options;
  options.systemOnly = true;
  return options;
}

Names namesOf(const Choice& choice) {
  Names names;
  for (const UserRecord& person : choice.concerned.persons) names.push_back(person.name);
  return names;
}

TEST(Persons, AreTheCallerAloneForEverybodyButRoot) {
  const Choice choice = choosePersons({}, accountsFor(kSam, "anna"));
  EXPECT_EQ(choice.problem, "");
  EXPECT_THAT(namesOf(choice), ElementsAre("sam"));
  EXPECT_EQ(choice.concerned.systemTrashOf, "sam");
}

TEST(Persons, AreChosenByRootAlone) {
  for (const auto& [options, option] : {std::pair(forUsers({"sam"}), "--user"), std::pair(forAllUsers(), "--all-users"),
                                        std::pair(forSystemOnly(), "--system-only")}) {
    const Choice choice = choosePersons(options, accountsFor(kSam));
    EXPECT_EQ(choice.status, kRightsMissing);
    EXPECT_EQ(choice.problem, std::string(option) + " requires root.");
    EXPECT_THAT(choice.concerned.persons, IsEmpty());
  }
}

TEST(Persons, AreForRootTheOneAtTheComputer) {
  const Choice choice = choosePersons({}, accountsFor(kRoot, "anna"));
  EXPECT_THAT(namesOf(choice), ElementsAre("anna"));
  EXPECT_EQ(choice.concerned.systemTrashOf, "root");
}

TEST(Persons, MustBeNamedWhereNobodyIsAtTheComputer) {
  for (const std::optional<std::string>& console :
       {std::optional<std::string>(), std::optional<std::string>("loginwindow")}) {
    const Choice choice = choosePersons({}, accountsFor(kRoot, console));
    EXPECT_EQ(choice.status, kUsage);
    EXPECT_EQ(choice.problem, "Nobody is logged in at the computer: choose with --user, --all-users or --system-only.");
  }
}

TEST(Persons, AreThoseNamedAndEachOnce) {
  EXPECT_THAT(namesOf(choosePersons(forUsers({"anna", "sam", "anna"}), accountsFor(kRoot))),
              ElementsAre("anna", "sam"));
  EXPECT_THAT(namesOf(choosePersons(forUsers({"root"}), accountsFor(kRoot))), ElementsAre("root"));
}

TEST(Persons, MustBeKnownAndHaveAHome) {
  const Choice unknown = choosePersons(forUsers({"sam", "no\nbody"}), accountsFor(kRoot));
  EXPECT_EQ(unknown.status, kUsage);
  EXPECT_EQ(unknown.problem, "There is no user \"no?body\" on this computer.");
  const Choice homeless = choosePersons(forUsers({"ghost"}), accountsFor(kRoot));
  EXPECT_EQ(homeless.status, kUsage);
  EXPECT_EQ(homeless.problem, "The user \"ghost\" has no home folder.");
}

TEST(Persons, AreAllOrdinaryAccountsWithAHomeOfTheirOwn) {
  EXPECT_THAT(namesOf(choosePersons(forAllUsers(), accountsFor(kRoot))), ElementsAre("sam", "anna"));
}

TEST(Persons, AreNoneWhereOnlyTheSystemIsMeant) {
  const Choice choice = choosePersons(forSystemOnly(), accountsFor(kRoot, "sam"));
  EXPECT_EQ(choice.problem, "");
  EXPECT_THAT(choice.concerned.persons, IsEmpty());
  EXPECT_EQ(choice.concerned.systemTrashOf, "root");
}

TEST(Persons, LeaveTheSystemsItemsToRootsOwnTrash) {
  for (const Options& options : {forUsers({"sam", "anna"}), forAllUsers(), forSystemOnly(), Options()}) {
    EXPECT_EQ(choosePersons(options, accountsFor(kRoot, "anna")).concerned.systemTrashOf, "root");
  }
}

std::vector<uid_t> personsOnAMacAmong(const std::vector<uid_t>& numbers) {
  std::vector<UserRecord> accounts;
  for (const uid_t number : numbers) accounts.push_back({number, 20, "account", "/Users/account"});
  std::vector<uid_t> persons;
  for (const UserRecord& each : personsAmong(accounts, kNumbersOfPersonsOnAMac)) persons.push_back(each.id);
  return persons;
}

TEST(Persons, AreOnAMacAccountsFrom501On) {
  EXPECT_THAT(personsOnAMacAmong({0, 1, 89, 500, 501, 502, 1000}), ElementsAre(501, 502, 1000));
}

TEST(Persons, AreOnAMacNotTheAccountNobody) {
  constexpr uid_t kNobody = static_cast<uid_t>(-2);
  EXPECT_THAT(personsOnAMacAmong({kNobody}), IsEmpty());
}

}  // namespace
}  // namespace qm::removal

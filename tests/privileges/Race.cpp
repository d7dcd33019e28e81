// SPDX-License-Identifier: MIT
#include "tests/privileges/Race.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <sstream>

#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

// With fewer the opponent would not have got in between.
constexpr int kFewestMoves = 1000;

int roundsWanted(int usual) {
  const char* asked = std::getenv("QM_RACE_ROUNDS");
  return asked != nullptr ? std::max(1, std::atoi(asked)) : usual;
}

}  // namespace

std::string testName() { return ::testing::UnitTest::GetInstance()->current_test_info()->name(); }

Race::Race(std::string name, int usualRounds, std::function<int()> moves)
    : name_(std::move(name)), usualRounds_(roundsWanted(usualRounds)), moves_(std::move(moves)) {}

Race::~Race() { std::cout << name_ << ": " << numbers() << std::endl; }

void Race::run(const std::function<void()>& round) {
  for (; rounds_ < usualRounds_ || moves_() < kFewestMoves; ++rounds_) round();
}

Outcome Race::attempt(const std::string& tool, const std::vector<std::string>& arguments) {
  const int before = moves_();
  Outcome outcome = launch(tool, arguments);
  count(before);
  ++(outcome.succeeded() ? succeeded_ : outcome.started() ? failed_ : refused_);
  return outcome;
}

bool Race::attempt(const std::function<bool()>& work) {
  const int before = moves_();
  const bool succeeded = work();
  count(before);
  ++(succeeded ? succeeded_ : failed_);
  return succeeded;
}

void Race::count(int movesBefore) {
  ++attempts_;
  if (moves_() != movesBefore) ++met_;
}

std::string Race::numbers() const {
  std::ostringstream text;
  text << rounds_ << " rounds, " << attempts_ << " attempts: " << met_ << " with somebody coming between, " << refused_
       << " refused, " << failed_ << " failed, " << succeeded_ << " succeeded; " << moves_()
       << " moves of the opponent's";
  return text.str();
}

namespace race {

std::string home() { return machineFolder() + "/home"; }
std::string trash() { return home() + "/.local/share/Trash"; }
std::string precious() { return machineFolder() + "/precious"; }
std::string source() { return machineFolder() + "/volume/source"; }

void build() {
  makeFile(machineFolder() + "/passwd", "root:x:0:0::/root:/bin/sh\nsam:x:1001:1001::" + home() + ":/bin/sh\n");
  bindMount(machineFolder() + "/passwd", "/etc/passwd");
  for (const std::string& folder : {precious(), precious() + "/sub", precious() + "/item"}) makeFolder(folder);
  for (const char* file : {"/file", "/sub/file", "/item/file"}) makeFile(precious() + file, "precious");
  mountTmpfs(machineFolder() + "/volume", "mode=0755");
  makeFolder(source());
  makeFolder(home(), kPerson);
}

void buildTrash() {
  makeFolder(home() + "/.local", kPerson, 0700);
  makeFolder(home() + "/.local/share", kPerson, 0700);
  makeFolder(trash(), kPerson, 0700);
  for (const char* part : {"/files", "/info"}) makeFolder(trash() + part, kPerson, 0700);
  makeLink(home() + "/.Trash", ".local/share/Trash/files", kPerson);
}

std::string listing(const std::string& folder) {
  return launch("/usr/bin/find", {folder, "-printf", "%p %y %U %m %T@ %C@ %s\n"}).output;
}

}  // namespace race

}  // namespace qm::testing

// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>

#include "tests/privileges/LaunchMachine.h"

namespace qm::testing {

/// The name of the running test.
std::string testName();

/// Work against an opponent, repeated many times. Counts how often the opponent got in between, and prints that at the
/// end. QM_RACE_ROUNDS is the number of rounds, for more than a regression test.
class Race {
 public:
  /// `moves` returns how often the opponent has done something.
  Race(std::string name, int usualRounds, std::function<int()> moves);
  Race(const Race&) = delete;
  Race& operator=(const Race&) = delete;
  ~Race();

  /// Runs rounds until there were enough, and enough moves of the opponent's.
  void run(const std::function<void()>& round);

  /// One attempt of the work.
  Outcome attempt(const std::string& tool, const std::vector<std::string>& arguments);
  /// The same for work of this process: whether it succeeded.
  bool attempt(const std::function<bool()>& work);

  /// For messages.
  std::string numbers() const;

 private:
  void count(int movesBefore);

  const std::string name_;
  const int usualRounds_;
  const std::function<int()> moves_;
  int rounds_ = 0;
  int attempts_ = 0;
  int met_ = 0;
  int refused_ = 0;
  int failed_ = 0;
  int succeeded_ = 0;
};

/// The machine of the races: "home" belongs to a user with an account; "precious" is root's and must stay unchanged.
namespace race {

std::string home();
std::string trash();
std::string precious();
std::string source();

/// The folders, and another volume at "volume", which contains `source`.
void build();
/// The user's Trash, empty, with ~/.Trash leading to it.
void buildTrash();
/// Everything in a folder that somebody could have changed.
std::string listing(const std::string& folder);

}  // namespace race

}  // namespace qm::testing

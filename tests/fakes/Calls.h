// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Status.h"

namespace qm::testing {

/// How an argument is written in a record: text verbatim, null as "nil", flags as YES and NO, lists with ", " between
/// their elements.
std::string recorded(std::string_view text);
std::string recorded(const std::string& text);
std::string recorded(const char* text);
std::string recorded(bool flag);
std::string recorded(long long number);
std::string recorded(const std::optional<std::string>& text);
std::string recorded(const std::vector<std::string>& list);

/// Every call that the fake services receive: a record of them, and a plan of what happens to them. Any thread.
///
/// A call is written as service.operation(arguments): "fileSystem.moveItem(/a, /b)". Wherever a `call` is expected,
/// "fileSystem.moveItem" means all calls of that operation, and the whole text means only those with these arguments.
///
/// A call that is told to fail returns its operation's failure and has no effect: a failed `Status`, null, false, an
/// empty list, a null pointer, an error status; a call without a result does nothing. Calls that cannot fail (the time,
/// the thread, the user id) are not counted.
class Calls {
 public:
  Calls() = default;
  Calls(const Calls&) = delete;
  Calls& operator=(const Calls&) = delete;

  // The plan.

  /// The next such call fails.
  void failNext(const std::string& call) { failNth(call, 1); }
  /// The n-th such call from now on fails; 1 is the next.
  void failNth(const std::string& call, std::size_t n);
  /// Every such call fails until `stopFailing`.
  void failAlways(const std::string& call);
  void stopFailing(const std::string& call);
  /// The n-th call of all, whatever it is, fails; 1 is the first that `callCount` counts.
  void failCallNumber(std::size_t n);
  /// The number and the sentence of a failed `Status` from now on.
  void setFailure(int code, const std::string& sentence);
  /// Such calls block before they do anything, until `release`.
  void hang(const std::string& call);
  void release(const std::string& call);
  void releaseAll();
  /// Returns when a call is blocked there; false if none is within 30 seconds.
  bool waitUntilHanging(const std::string& call);
  /// Runs `action` on the calling thread right before the n-th such call from now on has its effect.
  void before(const std::string& call, std::size_t n, std::function<void()> action);

  // The record.

  /// The calls that change something (files, tools, windows, console ...), in order.
  std::vector<std::string> log() const;
  /// All calls, including queries, in order.
  std::vector<std::string> everything() const;
  /// How many such calls `everything` contains.
  std::size_t count(const std::string& call) const;
  /// The index of the first such call in `everything`; null if there was none.
  std::optional<std::size_t> indexOf(const std::string& call) const;
  /// Each of these was made, and the first of one before the first of the next.
  bool areInOrder(std::initializer_list<std::string> calls) const;
  /// How many calls there were that could have failed.
  std::size_t callCount() const;
  /// The calls that were made to fail, in order.
  std::vector<std::string> failed() const;
  /// Clears the record; plans stay.
  void clear();

  // For the fakes. The first two return whether the call is to fail.

  template <class... Arguments>
  bool command(std::string_view name, const Arguments&... arguments) {
    return enter(Kind::Command, name, list({recorded(arguments)...}));
  }
  template <class... Arguments>
  bool question(std::string_view name, const Arguments&... arguments) {
    return enter(Kind::Question, name, list({recorded(arguments)...}));
  }
  template <class... Arguments>
  void note(std::string_view name, const Arguments&... arguments) {
    enter(Kind::Note, name, list({recorded(arguments)...}));
  }
  platform::Status failure() const;

 private:
  enum class Kind { Command, Question, Note };
  struct Entry {
    std::string name;
    std::string text;
    Kind kind;
    bool is(const std::string& call) const { return call == name || call == text; }
  };
  struct Plan {
    std::string call;
    std::size_t left;  ///< calls until it happens; 0 for always
    std::function<void()> action;
  };

  static std::string list(const std::vector<std::string>& arguments) { return recorded(arguments); }
  static std::vector<Plan> takeDue(std::vector<Plan>& plans, const Entry& entry);
  bool enter(Kind kind, std::string_view name, const std::string& arguments);
  bool isToFail(const Entry& entry);
  bool isHeld(const Entry& entry) const;
  void holdWhileHanging(std::unique_lock<std::mutex>& lock, const Entry& entry);

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<Entry> entries_;
  std::vector<std::string> failed_;
  std::size_t callCount_ = 0;
  std::size_t failingNumber_ = 0;
  std::vector<Plan> failures_;
  std::vector<Plan> actions_;
  std::vector<std::string> hanging_;
  std::vector<Entry> held_;
  int failureCode_ = 1;
  std::string failureSentence_ = "The operation couldn’t be completed.";
};

}  // namespace qm::testing

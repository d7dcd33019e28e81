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

/// How an argument is written in a record: text as it stands, nil as "nil", flags as YES and NO, lists
/// with ", " between their elements.
std::string recorded(std::string_view text);
std::string recorded(const std::string& text);
std::string recorded(const char* text);
std::string recorded(bool flag);
std::string recorded(long long number);
std::string recorded(const std::optional<std::string>& text);
std::string recorded(const std::vector<std::string>& list);

/// Every call that the fake services receive: a record of them, and a plan of what happens to them.
/// Any thread.
///
/// A call is written as service.operation(arguments): "fileSystem.moveItem(/a, /b)". Wherever a `call`
/// is asked for, "fileSystem.moveItem" means all calls of that operation and the whole text means
/// only those with these arguments.
///
/// A call that is told to fail gives its operation's negative answer and does nothing: a failed
/// `Status`, nil, false, an empty list, a null pointer, a refusing status number; a call that answers
/// nothing does nothing. Calls without a negative answer (the time, the thread, the user's number)
/// never fail and are not counted.
class Calls {
 public:
  Calls() = default;
  Calls(const Calls&) = delete;
  Calls& operator=(const Calls&) = delete;

  // What is to happen.

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
  /// Such calls stop before they do anything, until `release`.
  void hang(const std::string& call);
  void release(const std::string& call);
  void releaseAll();
  /// Returns when a call hangs there; false if none does within 30 seconds.
  bool waitUntilHanging(const std::string& call);
  /// Runs `action` on the calling thread right before the n-th such call from now on does its work.
  void before(const std::string& call, std::size_t n, std::function<void()> action);

  // What has happened.

  /// The calls that change something (files, tools, windows, console ...), in order.
  std::vector<std::string> log() const;
  /// All calls, questions included, in order.
  std::vector<std::string> everything() const;
  /// How many such calls there were, of `everything`.
  std::size_t count(const std::string& call) const;
  /// The place of the first such call in `everything`; nil when there was none.
  std::optional<std::size_t> indexOf(const std::string& call) const;
  /// Each of these has been made, and the first of one before the first of the next.
  bool areInOrder(std::initializer_list<std::string> calls) const;
  /// How many calls there were that could have failed.
  std::size_t callCount() const;
  /// The calls that were made to fail, in order.
  std::vector<std::string> failed() const;
  /// Forgets what has happened; plans stay.
  void clear();

  // For the fakes. The first two answer whether the call is to fail.

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

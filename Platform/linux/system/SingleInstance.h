#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// Sees to it that a user has one instance of a program on a machine. A later start asks the first one to show itself,
/// and gets an answer when that is done.
///
/// The first instance listens at a name of the kernel's, which goes with the process however that ends. Anybody may
/// take such a name or ask at it: both sides look whom they have before them. Somebody else who holds the name has the
/// program start as if there were no other, and somebody else who asks gets no answer.
class SingleInstance {
 public:
  enum class Start : unsigned char {
    First,     ///< the program is to run
    Answered,  ///< another instance runs, and has shown itself
    NoAnswer,  ///< another instance runs, and did nothing in time
  };

  /// `name` is the program's, the same for every user.
  explicit SingleInstance(const std::string& name);

  /// Called once. Takes no longer than `patience`. Where the system gives no socket, the start is the first.
  Start start(std::chrono::milliseconds patience);

  /// Readable when another start asks. None where this one is not listening.
  const posix::UniqueFd& requests() const { return listening_; }
  /// Takes one request, calls `show` if it is the same user's, and answers it. Returns whether the system gave the
  /// means: otherwise the request goes on waiting.
  bool serve(const std::function<void()>& show) const;

 private:
  enum class Attempt : unsigned char { Decided, TryAgain };

  Attempt claimOrAsk(std::chrono::steady_clock::time_point deadline);
  Attempt ask(int connection, std::chrono::steady_clock::time_point deadline);

  const std::string name_;
  Start start_ = Start::First;
  posix::UniqueFd listening_;
};

}  // namespace qm::linux_

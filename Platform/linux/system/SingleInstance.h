// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// Ensures that a user has one instance of a program on a machine. A later start asks the first one to show itself, and
/// gets an answer when that is done.
///
/// The first instance listens at an abstract socket name, which disappears with the process however that ends. Anybody
/// may take such a name or connect to it, so both sides check the peer's user. If somebody else holds the name, the
/// program starts as if there were no other; a request from somebody else gets no answer.
class SingleInstance {
 public:
  enum class Start : unsigned char {
    First,     ///< the program is to run
    Answered,  ///< another instance is running, and has shown itself
    NoAnswer,  ///< another instance is running, and did not respond in time
  };

  /// `name` is the program's, the same for every user.
  explicit SingleInstance(const std::string& name);

  /// Call it once. Takes little longer than `patience` at most. If the system provides no socket, this instance counts
  /// as the first.
  Start start(std::chrono::milliseconds patience);

  /// Readable when another start makes a request. None if this instance is not listening.
  const posix::UniqueFd& requests() const { return listening_; }
  /// Accepts one request, calls `show` if it is from the same user, and answers it. Returns false if the system lacked
  /// the resources; the request then keeps waiting.
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

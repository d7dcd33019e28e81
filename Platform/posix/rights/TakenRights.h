// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

namespace qm::posix {

/// The ids of a thread that count in permission checks.
struct ThreadIds {
  uid_t user = 0;
  gid_t group = 0;

  bool operator==(const ThreadIds&) const = default;
};

/// What a call to take rights has done if it failed: some of its steps, or nothing because it consists of one.
enum class FailedCall { MayHaveTakenSome, TookNothing };

/// The order in which a thread takes another user's rights and gives them back. The system's calls are parameters:
/// `call` returns whether it succeeded. `now` returns the ids that the thread has. They are compared after each call,
/// because a call that succeeds may still have changed nothing.
class TakenRights {
 public:
  /// Whether the thread has the rights that it took last, or has given them back. False after a call that failed, until
  /// rights are taken anew.
  bool ok() const { return ok_; }

  /// Does nothing while the thread has taken rights. After a failed call that may have taken some, `giveBack` gives
  /// them back. After one that took nothing, `giveBack` does nothing, because it could end rights that another object
  /// has taken for the same thread.
  template <class Call, class Now>
  void take(const ThreadIds& wanted, Call call, Now now, FailedCall failed = FailedCall::MayHaveTakenSome) {
    if (taken_) return;
    const bool succeeded = call();
    taken_ = succeeded || failed == FailedCall::MayHaveTakenSome;
    ok_ = succeeded && now() == wanted;
  }

  /// Tries more than once, because a thread that kept the rights could neither finish nor undo what it has begun. If
  /// every attempt fails, the rights stay taken and can be given back later.
  template <class Call, class Now>
  void giveBack(const ThreadIds& own, Call call, Now now) {
    constexpr int kTries = 3;
    for (int time = 0; taken_ && time < kTries; ++time) taken_ = !(call() && now() == own);
    ok_ = ok_ && !taken_;
  }

 private:
  bool taken_ = false;
  bool ok_ = true;
};

}  // namespace qm::posix

// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

namespace qm::testing {

/// Changes the disk continuously, in a process of its own, until the end of the scope.
class Opponent {
 public:
  /// `move` is called over and over again with the rights of `person`; it returns whether it had an effect.
  Opponent(uid_t person, const std::function<bool()>& move);
  Opponent(const Opponent&) = delete;
  Opponent& operator=(const Opponent&) = delete;
  ~Opponent();

  /// The moves that had an effect.
  int moves() const;

 private:
  struct Count;

  Count* count_;
  pid_t process_ = -1;
};

/// A user who continuously exchanges two items, for example a folder and a link.
class Swapper {
 public:
  Swapper(uid_t person, const std::string& folder, const std::string& link);

  int swaps() const { return opponent_.moves(); }

 private:
  Opponent opponent_;
};

/// A volume that comes and goes: `folder` is mounted at `place` and unmounted again, continuously.
class Mounter {
 public:
  Mounter(const std::string& folder, const std::string& place);

  int mounts() const { return opponent_.moves(); }

 private:
  Opponent opponent_;
};

}  // namespace qm::testing

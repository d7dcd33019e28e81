#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

namespace qm::testing {

/// Somebody who changes the disk all the time, in a process of his own, until the end of the scope.
class Opponent {
 public:
  /// `move` is made over and over again with the rights of `person`; it returns whether it came to something.
  Opponent(uid_t person, const std::function<bool()>& move);
  Opponent(const Opponent&) = delete;
  Opponent& operator=(const Opponent&) = delete;
  ~Opponent();

  /// The moves that came to something.
  int moves() const;

 private:
  struct Count;

  Count* count_;
  pid_t process_ = -1;
};

/// A person who lets two items, a folder and a link perhaps, change places all the time.
class Swapper {
 public:
  Swapper(uid_t person, const std::string& folder, const std::string& link);

  int swaps() const { return opponent_.moves(); }

 private:
  Opponent opponent_;
};

/// A volume that comes and goes: `folder` is shown at `place`, and not, all the time.
class Mounter {
 public:
  Mounter(const std::string& folder, const std::string& place);

  int mounts() const { return opponent_.moves(); }

 private:
  Opponent opponent_;
};

}  // namespace qm::testing

#pragma once

#include <sys/types.h>

#include <string>

namespace qm::testing {

/// A person who lets a folder and a link change places all the time, until the end of the scope.
class Swapper {
 public:
  Swapper(uid_t person, const std::string& folder, const std::string& link);
  Swapper(const Swapper&) = delete;
  Swapper& operator=(const Swapper&) = delete;
  ~Swapper();

  int swaps() const;

 private:
  struct Count;

  Count* count_;
  pid_t process_ = -1;
};

}  // namespace qm::testing

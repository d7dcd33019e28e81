// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace qm::linux_ {

/// A name and a password in memory that is kept from being swapped out if the system allows that and is wiped by the
/// destructor.
class Credentials {
 public:
  Credentials();
  Credentials(const Credentials&) = delete;
  Credentials& operator=(const Credentials&) = delete;
  ~Credentials();

  /// Reads both from a descriptor, each preceded by its length in four bytes. Returns false if they do not arrive
  /// completely.
  bool read(int fd);

  const char* user() const { return user_; }
  const char* password() const { return password_; }
  void wipePassword();

 private:
  static constexpr std::size_t kLongest = 4096;
  char user_[kLongest + 1] = {};
  char password_[kLongest + 1] = {};
};

}  // namespace qm::linux_

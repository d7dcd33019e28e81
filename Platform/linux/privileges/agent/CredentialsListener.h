#pragma once

#include <glib-object.h>
#include <polkitagent/polkitagent.h>

namespace qm::linux_ {

/// A name and a password in memory that is not swapped out and is wiped at the end.
class Credentials {
 public:
  Credentials();
  Credentials(const Credentials&) = delete;
  Credentials& operator=(const Credentials&) = delete;
  ~Credentials();

  /// Reads both from a descriptor: each is preceded by its length in four bytes. False when they do not
  /// arrive whole.
  bool read(int fd);

  const char* user() const { return user_; }
  const char* password() const { return password_; }
  void wipePassword();

 private:
  static constexpr std::size_t kLongest = 4096;
  char user_[kLongest + 1] = {};
  char password_[kLongest + 1] = {};
};

/// An agent that answers the first dialog with the credentials and refuses any other. `finished` is called
/// when that dialog has ended. Both outlive the listener. Free it with g_object_unref.
PolkitAgentListener* makeCredentialsListener(Credentials& credentials, void (*finished)(void*), void* context);

}  // namespace qm::linux_

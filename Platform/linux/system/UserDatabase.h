#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace qm::linux_ {

struct UserRecord {
  uid_t id = 0;
  std::string name;
  std::string home;
};

/// The system's user database, whatever it is made of. Nil for a user that it does not know. Any thread.
std::optional<UserRecord> userWithId(uid_t id);
std::optional<UserRecord> userWithName(const std::string& name);

}  // namespace qm::linux_

// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace qm::foundation {

/// Overwrites all memory of a string, also beyond its end, and empties it. The compiler does not optimise this away.
void wipe(std::string& text);

/// Wipes an object at the end of a scope; `Wiped` is a type that `wipe` accepts. Create it where the secret is, since a
/// copy would have to be wiped as well.
template <class Wiped>
class WipeAtEnd {
 public:
  /// `secret` outlives this object.
  explicit WipeAtEnd(Wiped& secret) : secret_(secret) {}
  WipeAtEnd(const WipeAtEnd&) = delete;
  WipeAtEnd& operator=(const WipeAtEnd&) = delete;
  ~WipeAtEnd() { wipe(secret_); }

 private:
  Wiped& secret_;
};

}  // namespace qm::foundation

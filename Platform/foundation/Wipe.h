#pragma once

#include <string>

namespace qm::foundation {

/// Overwrites all that a string's memory holds, also behind its end, and empties it. Done even where
/// nobody looks at the string again.
void wipe(std::string& text);

/// Wipes something at the end of a scope; `Wiped` is a type that `wipe` takes. Made where the secret
/// is, since a copy would have to be wiped as well.
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

// SPDX-License-Identifier: MIT
#pragma once

#include <clocale>
#include <string_view>

namespace qm::linux_ {

/// Makes the calling thread read and write names as UTF-8, or as plain bytes, whatever the user's environment says,
/// until the end of the scope.
class CharacterSet {
 public:
  enum class Kind { Utf8, Bytes };

  explicit CharacterSet(Kind kind);
  CharacterSet(const CharacterSet&) = delete;
  CharacterSet& operator=(const CharacterSet&) = delete;
  ~CharacterSet();

 private:
  locale_t own_;
  locale_t before_;
};

/// The set in which a name can be written: UTF-8 if it is valid UTF-8.
CharacterSet::Kind characterSetOf(std::string_view name);

}  // namespace qm::linux_

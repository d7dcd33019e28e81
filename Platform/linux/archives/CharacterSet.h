#pragma once

#include <clocale>
#include <string_view>

namespace qm::linux_ {

/// Has the calling thread read and write names in UTF-8, or as bytes without a meaning, whatever the user's
/// environment says, to the end of the scope.
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

/// The set that a name can be written in: UTF-8 when it is valid in that.
CharacterSet::Kind characterSetOf(std::string_view name);

}  // namespace qm::linux_

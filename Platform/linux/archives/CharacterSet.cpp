// SPDX-License-Identifier: MIT
#include "Platform/linux/archives/CharacterSet.h"

#include <cstddef>

#include "Platform/foundation/Utf8.h"

namespace qm::linux_ {
namespace {

// Always available on Linux; without it names are written as bytes.
constexpr const char* kUtf8Locale = "C.UTF-8";

}  // namespace

CharacterSet::CharacterSet(Kind kind)
    : own_(::newlocale(LC_CTYPE_MASK, kind == Kind::Utf8 ? kUtf8Locale : "C", nullptr)), before_(::uselocale(own_)) {}

CharacterSet::~CharacterSet() {
  ::uselocale(before_);
  if (own_ != nullptr) ::freelocale(own_);
}

CharacterSet::Kind characterSetOf(std::string_view name) {
  for (std::size_t position = 0; position < name.size();) {
    const foundation::Character character = foundation::characterAt(name, position);
    if (!character.isValid()) return CharacterSet::Kind::Bytes;
    position += character.length;
  }
  return CharacterSet::Kind::Utf8;
}

}  // namespace qm::linux_

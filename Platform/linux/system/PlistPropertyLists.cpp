// SPDX-License-Identifier: MIT
#include "Platform/linux/system/PlistPropertyLists.h"

#include <plist/plist.h>

#include <cstdlib>
#include <memory>

#include "Platform/linux/system/PlistDocument.h"

namespace qm::linux_ {
namespace {

using platform::PropertyList;
using platform::PropertyListValue;

struct FreeMemory {
  void operator()(void* memory) const { std::free(memory); }  // NOLINT(cppcoreguidelines-no-malloc)
};

PropertyListValue textValue(plist_t node) {
  std::uint64_t length = 0;
  const char* text = ::plist_get_string_ptr(node, &length);
  return text == nullptr ? std::string() : std::string(text, length);
}

PropertyListValue booleanValue(plist_t node) {
  std::uint8_t value = 0;
  ::plist_get_bool_val(node, &value);
  return value != 0;
}

PropertyListValue integerValue(plist_t node) {
  // libplist stores negative numbers in two's complement.
  std::uint64_t value = 0;
  ::plist_get_uint_val(node, &value);
  return static_cast<std::int64_t>(value);
}

PropertyListValue realValue(plist_t node) {
  double value = 0;
  ::plist_get_real_val(node, &value);
  return value;
}

PropertyListValue valueOf(plist_t node) {
  switch (::plist_get_node_type(node)) {
    case PLIST_STRING:
      return textValue(node);
    case PLIST_BOOLEAN:
      return booleanValue(node);
    case PLIST_UINT:
      return integerValue(node);
    case PLIST_REAL:
      return realValue(node);
    default:
      return std::monostate();
  }
}

PropertyList entriesOf(plist_t dictionary) {
  PropertyList entries;
  plist_dict_iter position = nullptr;
  ::plist_dict_new_iter(dictionary, &position);
  const std::unique_ptr<void, FreeMemory> ownedPosition(position);
  while (true) {
    char* key = nullptr;
    plist_t value = nullptr;
    ::plist_dict_next_item(dictionary, position, &key, &value);
    const std::unique_ptr<char, FreeMemory> ownedKey(key);
    if (key == nullptr || value == nullptr) return entries;
    entries.insert_or_assign(key, valueOf(value));
  }
}

}  // namespace

std::optional<PropertyList> PlistPropertyLists::read(const std::string& path) const {
  const PlistDocument root = readPlistDocument(path);
  if (!root || ::plist_get_node_type(root.get()) != PLIST_DICT) return std::nullopt;
  return entriesOf(root.get());
}

}  // namespace qm::linux_

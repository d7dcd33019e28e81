// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>

namespace qm::platform {

/// A value of a property list. Types that nothing here reads (data, dates, arrays, dictionaries) are represented by
/// std::monostate.
using PropertyListValue = std::variant<std::monostate, std::string, bool, std::int64_t, double>;
using PropertyList = std::map<std::string, PropertyListValue>;

/// Reads property lists, XML and binary. Any thread.
class PropertyLists {
 public:
  virtual ~PropertyLists() = default;

  /// The dictionary in a file; null when the file is missing, too large, not a regular file, not a
  /// property list, or holds no dictionary.
  virtual std::optional<PropertyList> read(const std::string& path) const = 0;
};

}  // namespace qm::platform

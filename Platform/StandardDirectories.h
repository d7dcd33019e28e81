// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace qm::platform {

/// The standard folders that can be searched, with the platform's numbers.
enum class StandardDirectory : unsigned {
  Application = 1,
  AdminApplication = 4,
  Library = 5,
  Documentation = 8,
  Document = 9,
  Desktop = 12,
  Caches = 13,
  ApplicationSupport = 14,
};

/// The domains of a search. Values may be joined with `|`.
enum class DomainMask : unsigned { User = 1, Local = 2, System = 8 };

/// Both domains.
constexpr DomainMask operator|(DomainMask a, DomainMask b) {
  return static_cast<DomainMask>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}
/// Whether a domain is among those of a search.
constexpr bool contains(DomainMask set, DomainMask one) {
  return (static_cast<unsigned>(set) & static_cast<unsigned>(one)) != 0;
}

/// Where the standard folders are. Any thread.
class StandardDirectories {
 public:
  virtual ~StandardDirectories() = default;

  /// Absolute paths without a trailing slash, user domain first, then local, then system, the tilde expanded. The
  /// folders need not exist. A domain without such a folder adds nothing. The user domain of a process whose real user
  /// id is 0 lies below root's own home (/var/root).
  virtual std::vector<std::string> search(StandardDirectory directory, DomainMask domains) const = 0;

  /// The temporary folder of the process: an absolute path without a slash at the end.
  virtual std::string temporaryDirectory() const = 0;
};

}  // namespace qm::platform

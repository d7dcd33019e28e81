// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace qm::platform {

/// Facts about the machine, the process and the program's own bundle. Any thread.
class SystemInformation {
 public:
  virtual ~SystemInformation() = default;

  /// The operating system's version, as text.
  virtual std::string operatingSystemVersion() const = 0;
  /// The number of processors, as the system counts them.
  virtual int processorCount() const = 0;
  /// Bytes.
  virtual std::uint64_t physicalMemory() const = 0;
  /// A string that no other call, process or machine gives; safe as a file name.
  virtual std::string globallyUniqueString() const = 0;
  /// The path of the running executable; null when there is none.
  virtual std::optional<std::string> executablePath() const = 0;
  /// The value of "CFBundleVersion" in the program's information dictionary; null without one.
  virtual std::optional<std::string> bundleVersion() const = 0;
  /// The path of the program that makes and unpacks zip archives, the system's own or the product's. Its
  /// arguments are "-ck [--keepParent] item archive" and "-xk archive folder".
  virtual std::string zipToolPath() const = 0;
};

}  // namespace qm::platform

// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/ProductIdentity.h"
#include "Platform/PropertyLists.h"
#include "Platform/SystemInformation.h"

namespace qm::linux_ {

/// The value of PRETTY_NAME in the text of an os-release file; null without one.
std::optional<std::string> prettyName(std::string_view osRelease);

/// The path that the running program was started from; null if the system does not tell it.
std::optional<std::string> runningExecutable();

/// Facts from the kernel and the distribution. The program's information dictionary is an Info.plist beside the folder
/// of the executable (Contents/MacOS/program has Contents/Info.plist). If there is none, it is the Info.plist in the
/// folder with the program's name in the product's `dataFolder`.
class SystemFacts : public platform::SystemInformation {
 public:
  SystemFacts(const platform::PropertyLists& propertyLists, const platform::ProductIdentity& product,
              std::optional<std::string> executable);

  /// "Debian GNU/Linux 12 (bookworm), Linux 6.1.0-18-amd64"
  std::string operatingSystemVersion() const override;
  int processorCount() const override;
  std::uint64_t physicalMemory() const override;
  std::string globallyUniqueString() const override;
  std::optional<std::string> executablePath() const override;
  std::optional<std::string> bundleVersion() const override;
  /// The product's zip tool, built from Platform/linux/archives.
  std::string zipToolPath() const override;

 private:
  const platform::PropertyLists& propertyLists_;
  const platform::ProductIdentity product_;
  const std::optional<std::string> executable_;
  mutable std::atomic<unsigned> uniqueStrings_{0};
};

}  // namespace qm::linux_

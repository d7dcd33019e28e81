// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/SystemInformation.h"

namespace qm::macos {

class MacFacts final : public platform::SystemInformation {
 public:
  std::string operatingSystemVersion() const override;
  int processorCount() const override;
  std::uint64_t physicalMemory() const override;
  std::string globallyUniqueString() const override;
  std::optional<std::string> executablePath() const override;
  std::optional<std::string> bundleVersion() const override;
  std::string zipToolPath() const override { return "/usr/bin/ditto"; }
};

}  // namespace qm::macos

// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/StandardDirectories.h"
#include "Platform/Users.h"

namespace qm::linux_ {

/// The folders of the Mac's layout: ~/Applications, /Library, /System/Library and so on. The temporary folder is
/// $TMPDIR if that is absolute, else /tmp.
class MacLayoutDirectories : public platform::StandardDirectories {
 public:
  explicit MacLayoutDirectories(const platform::Users& users) : users_(users) {}

  std::vector<std::string> search(platform::StandardDirectory directory, platform::DomainMask domains) const override;
  std::string temporaryDirectory() const override;

 private:
  const platform::Users& users_;
};

}  // namespace qm::linux_

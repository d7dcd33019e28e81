// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "Platform/StandardDirectories.h"
#include "tests/fakes/Calls.h"
#include "tests/fakes/FakeUsers.h"

namespace qm::testing {

/// The Mac's layout, with the user domain below the fake user's home, or below /var/root as root. The
/// temporary folder is /tmp.
class FakeStandardDirectories : public platform::StandardDirectories {
 public:
  FakeStandardDirectories(Calls& calls, const FakeUsers& users) : calls_(calls), users_(users) {}

  /// The result of a search for one folder in one domain from now on; an empty list for none.
  void set(platform::StandardDirectory directory, platform::DomainMask domain, std::vector<std::string> paths);
  void setTemporaryDirectory(const std::string& path);

  std::vector<std::string> search(platform::StandardDirectory directory, platform::DomainMask domains) const override;
  std::string temporaryDirectory() const override;

 private:
  std::vector<std::string> inDomain(platform::StandardDirectory directory, platform::DomainMask domain) const;

  Calls& calls_;
  const FakeUsers& users_;
  mutable std::mutex mutex_;
  std::map<std::pair<platform::StandardDirectory, platform::DomainMask>, std::vector<std::string>> answers_;
  std::string temporaryDirectory_ = "/tmp";
};

}  // namespace qm::testing

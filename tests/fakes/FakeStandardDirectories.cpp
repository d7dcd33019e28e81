// SPDX-License-Identifier: MIT
#include "tests/fakes/FakeStandardDirectories.h"

namespace qm::testing {
namespace {

using platform::DomainMask;
using platform::StandardDirectory;

/// The path below a domain's root; "" if the domain has no such folder.
std::string placeInDomain(StandardDirectory directory, DomainMask domain) {
  const bool isUser = domain == DomainMask::User;
  switch (directory) {
    case StandardDirectory::Application:
      return "/Applications";
    case StandardDirectory::AdminApplication:
      return "/Applications/Utilities";
    case StandardDirectory::Library:
      return "/Library";
    case StandardDirectory::Documentation:
      return "/Library/Documentation";
    case StandardDirectory::Document:
      return isUser ? "/Documents" : "";
    case StandardDirectory::Desktop:
      return isUser ? "/Desktop" : "";
    case StandardDirectory::Caches:
      return "/Library/Caches";
    case StandardDirectory::ApplicationSupport:
      return domain == DomainMask::System ? "" : "/Library/Application Support";
  }
  return "";
}

}  // namespace

void FakeStandardDirectories::set(StandardDirectory directory, DomainMask domain, std::vector<std::string> paths) {
  const std::scoped_lock lock(mutex_);
  answers_[{directory, domain}] = std::move(paths);
}

void FakeStandardDirectories::setTemporaryDirectory(const std::string& path) {
  const std::scoped_lock lock(mutex_);
  temporaryDirectory_ = path;
}

std::vector<std::string> FakeStandardDirectories::inDomain(StandardDirectory directory, DomainMask domain) const {
  {
    const std::scoped_lock lock(mutex_);
    const auto answer = answers_.find({directory, domain});
    if (answer != answers_.end()) return answer->second;
  }
  const std::string place = placeInDomain(directory, domain);
  if (place.empty()) return {};
  if (domain == DomainMask::Local) return {place};
  if (domain == DomainMask::System) return {"/System" + place};
  return {users_.userDomainRoot() + place};
}

std::vector<std::string> FakeStandardDirectories::search(StandardDirectory directory, DomainMask domains) const {
  if (calls_.question("standardDirectories.search", static_cast<long long>(directory),
                      static_cast<long long>(domains))) {
    return {};
  }
  std::vector<std::string> found;
  for (const DomainMask domain : {DomainMask::User, DomainMask::Local, DomainMask::System}) {
    if (!platform::contains(domains, domain)) continue;
    for (std::string& path : inDomain(directory, domain)) found.push_back(std::move(path));
  }
  return found;
}

std::string FakeStandardDirectories::temporaryDirectory() const {
  calls_.note("standardDirectories.temporaryDirectory");
  const std::scoped_lock lock(mutex_);
  return temporaryDirectory_;
}

}  // namespace qm::testing

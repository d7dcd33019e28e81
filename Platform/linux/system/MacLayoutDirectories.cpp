// SPDX-License-Identifier: MIT
#include "Platform/linux/system/MacLayoutDirectories.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "Platform/foundation/PathComponents.h"
#include "Platform/linux/system/Environment.h"

namespace qm::linux_ {
namespace {

using platform::DomainMask;
using platform::StandardDirectory;

struct Row {
  StandardDirectory directory;
  std::string_view belowDomain;
  DomainMask domains;
};

constexpr DomainMask kEveryDomain = DomainMask::User | DomainMask::Local | DomainMask::System;

constexpr Row kLayout[] = {
    {StandardDirectory::Application, "Applications", kEveryDomain},
    {StandardDirectory::AdminApplication, "Applications/Utilities", kEveryDomain},
    {StandardDirectory::Library, "Library", kEveryDomain},
    {StandardDirectory::Documentation, "Library/Documentation", kEveryDomain},
    {StandardDirectory::Document, "Documents", DomainMask::User},
    {StandardDirectory::Desktop, "Desktop", DomainMask::User},
    {StandardDirectory::Caches, "Library/Caches", kEveryDomain},
    {StandardDirectory::ApplicationSupport, "Library/Application Support", kEveryDomain},
};

}  // namespace

std::vector<std::string> MacLayoutDirectories::search(StandardDirectory directory, DomainMask domains) const {
  std::vector<std::string> paths;
  const Row* row = std::find_if(std::begin(kLayout), std::end(kLayout),
                                [directory](const Row& candidate) { return candidate.directory == directory; });
  if (row == std::end(kLayout)) return paths;
  const auto add = [&](DomainMask domain, const std::string& root) {
    if (!contains(domains, domain) || !contains(row->domains, domain)) return;
    paths.push_back(foundation::appendingPathComponent(root, row->belowDomain));
  };
  add(DomainMask::User, users_.homeDirectory());
  add(DomainMask::Local, "/");
  add(DomainMask::System, "/System");
  return paths;
}

std::string MacLayoutDirectories::temporaryDirectory() const {
  return absoluteFolder(environmentValue("TMPDIR")).value_or("/tmp");
}

}  // namespace qm::linux_

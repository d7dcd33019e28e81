// SPDX-License-Identifier: MIT
#include "Platform/macos/system/MacDirectories.h"

#include "Platform/macos/Framework.h"
#include "Platform/posix/ItemPath.h"

namespace qm::macos {
namespace {

using platform::DomainMask;
using platform::StandardDirectory;

constexpr auto numberOf(auto ours) { return static_cast<unsigned long>(ours); }
static_assert(numberOf(StandardDirectory::Application) == NSApplicationDirectory);
static_assert(numberOf(StandardDirectory::AdminApplication) == NSAdminApplicationDirectory);
static_assert(numberOf(StandardDirectory::Library) == NSLibraryDirectory);
static_assert(numberOf(StandardDirectory::Documentation) == NSDocumentationDirectory);
static_assert(numberOf(StandardDirectory::Document) == NSDocumentDirectory);
static_assert(numberOf(StandardDirectory::Desktop) == NSDesktopDirectory);
static_assert(numberOf(StandardDirectory::Caches) == NSCachesDirectory);
static_assert(numberOf(StandardDirectory::ApplicationSupport) == NSApplicationSupportDirectory);
static_assert(numberOf(DomainMask::User) == NSUserDomainMask && numberOf(DomainMask::Local) == NSLocalDomainMask);
static_assert(numberOf(DomainMask::System) == NSSystemDomainMask);

}  // namespace

std::vector<std::string> MacDirectories::search(StandardDirectory directory, DomainMask domains) const {
  const Pool pool;
  NSArray* const found = NSSearchPathForDirectoriesInDomains(static_cast<NSSearchPathDirectory>(directory),
                                                             static_cast<NSSearchPathDomainMask>(domains), YES);
  std::vector<std::string> paths;
  for (NSUInteger i = 0; i < [found count]; ++i) paths.push_back(textOf([found objectAtIndex:i]));
  return paths;
}

/// The system returns the path with a slash at the end, which is removed.
std::string MacDirectories::temporaryDirectory() const {
  const Pool pool;
  return posix::withoutTrailingSlashes(textOf(NSTemporaryDirectory()));
}

}  // namespace qm::macos

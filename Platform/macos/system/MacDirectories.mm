#include "Platform/macos/system/MacDirectories.h"

#include "Platform/macos/Framework.h"
#include "Platform/posix/ItemPath.h"

namespace qm::macos {

std::vector<std::string> MacDirectories::search(platform::StandardDirectory directory,
                                                platform::DomainMask domains) const {
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

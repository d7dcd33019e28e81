#include "Platform/macos/system/MacPackages.h"

#include "Platform/macos/Framework.h"

/// A value of the item's own: the workspace, which is asked the same, belongs to the main thread.
bool qm::macos::isPackage(const std::string& path) {
  const Pool pool;
  NSNumber* answer = nil;
  [[NSURL fileURLWithPath:stringOf(path)] getResourceValue:&answer forKey:NSURLIsPackageKey error:nullptr];
  return [answer boolValue];
}

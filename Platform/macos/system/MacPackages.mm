#include "Platform/macos/system/MacPackages.h"

#include "Platform/macos/Framework.h"

/// A value of the item's own: the workspace, which is asked the same, belongs to the main thread.
bool qm::macos::MacPackages::isFilePackage(const std::string& path) const {
  const Pool pool;
  NSString* const item = stringOf(path);
  if (item == nil) return false;
  NSNumber* isPackage = nil;
  NSURL* const location = [[NSURL fileURLWithPath:item] URLByResolvingSymlinksInPath];
  [location getResourceValue:&isPackage forKey:NSURLIsPackageKey error:nullptr];
  return [isPackage boolValue];
}

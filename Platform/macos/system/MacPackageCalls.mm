// SPDX-License-Identifier: MIT
#include "Platform/macos/system/MacPackages.h"

#include "Platform/macos/Framework.h"

/// Reads a property of the item itself. `NSWorkspace` gives the same answer but may be used on the main thread only.
bool qm::macos::isPackage(const std::string& path) {
  const Pool pool;
  NSNumber* answer = nil;
  [[NSURL fileURLWithPath:stringOf(path)] getResourceValue:&answer forKey:NSURLIsPackageKey error:nullptr];
  return [answer boolValue];
}

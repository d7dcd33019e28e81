// SPDX-License-Identifier: MIT
#import <CoreFoundation/CoreFoundation.h>

#include "Platform/macos/Framework.h"
#include "Platform/macos/system/MacPropertyLists.h"

namespace qm::macos {
namespace {

platform::PropertyListValue numberOf(NSNumber* number) {
  if (CFGetTypeID((CFTypeRef)number) == CFBooleanGetTypeID()) return static_cast<bool>([number boolValue]);
  if (CFNumberIsFloatType((CFNumberRef)number)) return static_cast<double>([number doubleValue]);
  return static_cast<std::int64_t>([number longLongValue]);
}

platform::PropertyListValue valueOf(id object) {
  if ([object isKindOfClass:[NSString class]]) return textOf(object);
  if ([object isKindOfClass:[NSNumber class]]) return numberOf(object);
  return std::monostate();
}

/// A binary list may have keys of any kind. Only texts are keys here.
platform::PropertyList listOf(NSDictionary* dictionary) {
  platform::PropertyList list;
  NSArray* const keys = [dictionary allKeys];
  for (NSUInteger i = 0; i < [keys count]; ++i) {
    const id key = [keys objectAtIndex:i];
    if ([key isKindOfClass:[NSString class]]) list.emplace(textOf(key), valueOf([dictionary objectForKey:key]));
  }
  return list;
}

}  // namespace

std::optional<platform::PropertyList> parsedPropertyList(const std::string& bytes) {
  const Pool pool;
  NSData* const data = [NSData dataWithBytes:bytes.data() length:bytes.size()];
  const id root = [NSPropertyListSerialization propertyListWithData:data
                                                            options:NSPropertyListImmutable
                                                             format:nullptr
                                                              error:nullptr];
  if (![root isKindOfClass:[NSDictionary class]]) return std::nullopt;
  return listOf(root);
}

}  // namespace qm::macos

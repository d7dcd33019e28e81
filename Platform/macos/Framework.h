// SPDX-License-Identifier: MIT
#pragma once

#import <Foundation/Foundation.h>

#include <optional>
#include <string>

/// What every call into the frameworks needs. For Objective-C++ sources.
namespace qm::macos {

/// What a call into the frameworks leaves behind goes with this. Threads of the language's own have no other.
class Pool {
 public:
  Pool() : pool_([[NSAutoreleasePool alloc] init]) {}
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;
  ~Pool() { [pool_ drain]; }

 private:
  NSAutoreleasePool* pool_;
};

/// Null for bytes that are no UTF-8: such a path names nothing here.
inline NSString* stringOf(const std::string& text) {
  return [[[NSString alloc] initWithBytes:text.data() length:text.size() encoding:NSUTF8StringEncoding] autorelease];
}

/// "" for null.
inline std::string textOf(NSString* string) {
  const char* const bytes = [string UTF8String];
  return bytes == nullptr ? std::string() : std::string(bytes);
}

inline std::optional<std::string> optionalTextOf(NSString* string) {
  return string == nil ? std::nullopt : std::optional(textOf(string));
}

}  // namespace qm::macos

// SPDX-License-Identifier: MIT
#pragma once

#import <Foundation/Foundation.h>

#include <optional>
#include <string>

/// Helpers for calls into the frameworks. For Objective-C++ sources only.
namespace qm::macos {

/// An autorelease pool. Objects that a call into the frameworks leaves behind are released together with it. Threads
/// that std::thread starts have no other pool.
class Pool {
 public:
  Pool() : pool_([[NSAutoreleasePool alloc] init]) {}
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;
  ~Pool() { [pool_ drain]; }

 private:
  NSAutoreleasePool* pool_;
};

/// Null for bytes that are not UTF-8. No item has such a path on a Mac.
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

// SPDX-License-Identifier: MIT
#include "tests/gnustep/ConsoleUserStandIn.h"

#import <SystemConfiguration/SystemConfiguration.h>

namespace {

std::optional<std::string>& consoleUser() {
  static std::optional<std::string> shared;
  return shared;
}

}  // namespace

void qm::testing::setConsoleUser(const std::optional<std::string>& name) { consoleUser() = name; }

CFStringRef SCDynamicStoreCopyConsoleUser(const void* /*store*/, unsigned* /*user*/, unsigned* /*group*/) {
  return consoleUser() ? [[NSString alloc] initWithUTF8String:consoleUser()->c_str()] : nil;
}

// SPDX-License-Identifier: MIT
#include "Platform/macos/system/MacUsers.h"

#import <SystemConfiguration/SystemConfiguration.h>
#include <unistd.h>

#include "Platform/macos/Framework.h"

namespace qm::macos {

unsigned MacUsers::realUserId() const { return ::getuid(); }

std::string MacUsers::userName() const {
  const Pool pool;
  return textOf(NSUserName());
}

std::string MacUsers::homeDirectory() const {
  const Pool pool;
  return textOf(NSHomeDirectory());
}

/// A null name is not passed on, because the system would return the home of the process's own user.
std::optional<std::string> MacUsers::homeDirectoryForUser(const std::optional<std::string>& name) const {
  const Pool pool;
  NSString* const user = name ? stringOf(*name) : nil;
  return user == nil ? std::nullopt : optionalTextOf(NSHomeDirectoryForUser(user));
}

std::optional<std::string> MacUsers::consoleUser() const {
  const Pool pool;
  NSString* const name = (NSString*)SCDynamicStoreCopyConsoleUser(nullptr, nullptr, nullptr);
  [name autorelease];
  return optionalTextOf(name);
}

}  // namespace qm::macos

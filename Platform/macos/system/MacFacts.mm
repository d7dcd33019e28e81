// SPDX-License-Identifier: MIT
#include "Platform/macos/system/MacFacts.h"

#include "Platform/macos/Framework.h"

namespace qm::macos {

std::string MacFacts::operatingSystemVersion() const {
  const Pool pool;
  return textOf([[NSProcessInfo processInfo] operatingSystemVersionString]);
}

int MacFacts::processorCount() const {
  const Pool pool;
  return static_cast<int>([[NSProcessInfo processInfo] processorCount]);
}

std::uint64_t MacFacts::physicalMemory() const {
  const Pool pool;
  return [[NSProcessInfo processInfo] physicalMemory];
}

std::string MacFacts::globallyUniqueString() const {
  const Pool pool;
  return textOf([[NSProcessInfo processInfo] globallyUniqueString]);
}

std::optional<std::string> MacFacts::executablePath() const {
  const Pool pool;
  return optionalTextOf([[NSBundle mainBundle] executablePath]);
}

std::optional<std::string> MacFacts::bundleVersion() const {
  const Pool pool;
  return optionalTextOf([[[NSBundle mainBundle] infoDictionary] objectForKey:@"CFBundleVersion"]);
}

}  // namespace qm::macos

// SPDX-License-Identifier: MIT
#include "Platform/linux/system/Environment.h"

#include <cstdlib>

namespace qm::linux_ {

std::optional<std::string> environmentValue(const char* name) {
  // Nothing here changes the environment while threads are running.
  const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe)
  return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

std::optional<std::string> absoluteFolder(std::optional<std::string> path) {
  if (!path || path->empty() || path->front() != '/') return std::nullopt;
  while (path->size() > 1 && path->back() == '/') path->pop_back();
  return path;
}

}  // namespace qm::linux_

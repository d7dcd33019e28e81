// SPDX-License-Identifier: MIT
#include "Platform/linux/system/OwnPrograms.h"

#include <unistd.h>

#include "Platform/foundation/PathComponents.h"

namespace qm::linux_ {

std::string installedFolder(const std::optional<std::string>& executable, std::string_view way) {
  if (way.starts_with('/')) return std::string(way);
  std::string folder = executable ? foundation::deletingLastPathComponent(*executable) : "/usr/bin";
  for (; way == ".." || way.starts_with("../"); way.remove_prefix(way.size() > 2 ? 3 : 2)) {
    folder = foundation::deletingLastPathComponent(folder);
  }
  return foundation::appendingPathComponent(folder, way);
}

std::string ownProgram(const platform::ProductIdentity& product, const std::optional<std::string>& executable,
                       std::string_view name) {
  if (name.empty()) return "/nonexistent (the product names no program for it)";
  if (name.front() == '/') return std::string(name);
  std::string installed = foundation::appendingPathComponent(installedFolder(executable, product.programsFolder), name);
  if (::access(installed.c_str(), X_OK) == 0) return installed;
  return foundation::appendingPathComponent(installedFolder(executable, ""), name);
}

}  // namespace qm::linux_

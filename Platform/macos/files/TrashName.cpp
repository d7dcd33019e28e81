// SPDX-License-Identifier: MIT
#include "Platform/macos/files/TrashName.h"

#include "Platform/foundation/PathComponents.h"

std::string qm::macos::trashName(const std::string& name, int attempt) {
  if (attempt == 1) return name;
  const std::string extension = foundation::pathExtension(name);
  const std::string numbered = foundation::deletingPathExtension(name) + " " + std::to_string(attempt);
  return extension.empty() ? numbered : numbered + "." + extension;
}

// SPDX-License-Identifier: MIT
#include "Platform/foundation/Format.h"
#include "Platform/foundation/Strings.h"
#include "Shared/QMFileManager.h"

using qm::foundation::formatted;

namespace {
constexpr double kStep = 0.0009765625;  // 1/1024
constexpr double kKilobyte = 1024;
constexpr double kMegabyte = 1048576;
constexpr double kGigabyte = 1073741824;
}  // namespace

std::string QMFileManager::formatFileSize(double size) {
  if (size < kKilobyte) return formatted("%0.0f B", size);
  if (size < kMegabyte) return formatted("%0.2f KB", size * kStep);
  if (size < kGigabyte) return formatted("%0.2f MB", size * kStep * kStep);
  return formatted("%0.2f GB", size * kStep * kStep * kStep);
}

/// The leading dot is removed before the white space, so " .x" keeps its dot.
std::string QMFileManager::validateFilename(const std::string& name) {
  const bool isHidden = name.starts_with('.');
  std::string cleaned = qm::foundation::trimmingWhitespaceAndNewlines(isHidden ? name.substr(1) : name);
  std::erase(cleaned, '/');
  std::erase(cleaned, ':');
  return cleaned;
}

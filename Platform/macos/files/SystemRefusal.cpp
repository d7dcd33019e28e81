// SPDX-License-Identifier: MIT
#include "Platform/macos/files/SystemRefusal.h"

#include <cerrno>

#include "Platform/foundation/PathComponents.h"
#include "Platform/macos/files/FlagBits.h"

namespace qm::macos {
namespace {

constexpr const char* kIntegrity = "System Integrity Protection keeps it. Nobody can remove it while that is on.";
constexpr const char* kApplications =
    "The system does not let other programs change applications. Allow this one in System Settings > Privacy & "
    "Security > App "
    "Management (before macOS 13: Full Disk Access), and start it again.";
constexpr const char* kFiles =
    "The system keeps it from this program. Allow the program, or the Terminal that it is started in, in System "
    "Settings > Privacy & Security > Full Disk Access, and start it again.";
constexpr const char* kTrash =
    "The system keeps the Trash from this program. Allow the program, or the Terminal that it is started in, in System "
    "Settings > Privacy & Security > Full Disk Access, and start it again.";

bool isTrash(const std::string& path) { return foundation::lastPathComponent(path) == ".Trash"; }

bool isApplication(const std::string& path) { return foundation::pathExtension(path) == "app"; }

}  // namespace

std::string systemRefusal(int error, const RefusedItem& item) {
  if (error != EPERM || !item.flags || !item.folderFlags) return "";
  if (((*item.flags | *item.folderFlags) & kLocked) != 0) return "";
  if ((*item.flags & (kRestricted | kNoUnlink)) != 0 || (*item.folderFlags & kRestricted) != 0) return kIntegrity;
  if (item.obstacle != 0) return "";
  if (isTrash(item.path)) return kTrash;
  return isApplication(item.path) ? kApplications : kFiles;
}

}  // namespace qm::macos

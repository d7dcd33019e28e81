// SPDX-License-Identifier: MIT
#include <cerrno>
#include <utility>

#include "Platform/foundation/Format.h"
#include "Platform/foundation/PathComponents.h"
#include "Platform/macos/files/FileRules.h"
#include "Platform/macos/files/TrashParts.h"
#include "Platform/posix/ErrorWords.h"

namespace qm::macos {
namespace {

using platform::Status;

constexpr const char* kIntegrity = "System Integrity Protection keeps it. Nobody can remove it while that is on.";
constexpr const char* kApplications =
    "The system does not let other programs change applications. Allow this one in System Settings > Privacy & "
    "Security > App Management (before macOS 13: Full Disk Access), and start it again.";
constexpr const char* kFiles =
    "The system keeps it from this program. Allow the program, or the Terminal that it is started in, in System "
    "Settings > Privacy & Security > Full Disk Access, and start it again.";
constexpr const char* kTrash =
    "The system keeps the Trash from this program. Allow the program, or the Terminal that it is started in, in System "
    "Settings > Privacy & Security > Full Disk Access, and start it again.";

/// The largest error number of the system that is accepted.
constexpr long kLastNumber = 255;

/// Errors of the frameworks' own list (NSCocoaErrorDomain), and what they stand for.
constexpr std::pair<long, int> kMeanings[] = {
    {4, ENOENT},      // NSFileNoSuchFileError
    {255, EBUSY},     // NSFileLockingError
    {257, EACCES},    // NSFileReadNoPermissionError
    {260, ENOENT},    // NSFileReadNoSuchFileError
    {513, EACCES},    // NSFileWriteNoPermissionError
    {516, EEXIST},    // NSFileWriteFileExistsError
    {640, ENOSPC},    // NSFileWriteOutOfSpaceError
    {642, EROFS},     // NSFileWriteVolumeReadOnlyError
    {3328, ENOTSUP},  // NSFeatureUnsupportedError
};
constexpr const char* kPosixDomain = "NSPOSIXErrorDomain";
constexpr const char* kCocoaDomain = "NSCocoaErrorDomain";

bool isNumber(const std::string& domain, long code) {
  return domain == kPosixDomain && code > 0 && code <= kLastNumber;
}

/// Whether the error may stand for a missing permission, a protection or a lock. The frameworks distinguish these only
/// by an error number of the system, which is missing here.
bool isAnyRefusal(const TrashAnswer& answer) {
  return !isNumber(answer.domain, answer.code) && !isNumber(answer.domainBelow, answer.codeBelow) &&
         errorNumberOf(answer) == EACCES;
}

std::string couldNotBeMoved(const std::string& path) {
  return posix::quoted(foundation::lastPathComponent(path)) + " couldn’t be moved";
}

Status withReason(int error, const RefusedItem& item, const std::string& otherwise) {
  const std::string refusal = systemRefusal(error, item);
  return Status::failed(error, refusal.empty() ? otherwise : refusal);
}

}  // namespace

std::string systemRefusal(int error, const RefusedItem& item) {
  if (error != EPERM || !item.flags || !item.folderFlags) return "";
  if (((*item.flags | *item.folderFlags) & kLocked) != 0) return "";
  if ((*item.flags & (kRestricted | kNoUnlink)) != 0 || (*item.folderFlags & kRestricted) != 0) return kIntegrity;
  if (item.obstacle != 0) return "";
  if (foundation::lastPathComponent(item.path) == ".Trash") return kTrash;
  return foundation::pathExtension(item.path) == "app" ? kApplications : kFiles;
}

int errorNumberOf(const TrashAnswer& answer) {
  if (isNumber(answer.domainBelow, answer.codeBelow)) return static_cast<int>(answer.codeBelow);
  if (isNumber(answer.domain, answer.code)) return static_cast<int>(answer.code);
  if (answer.domain != kCocoaDomain) return EIO;
  for (const auto& [cocoaCode, error] : kMeanings) {
    if (cocoaCode == answer.code) return error;
  }
  return EIO;
}

Status trashFailure(int error, const std::string& path) {
  const std::string_view words = posix::messageFor(error, posix::Subject::TrashedItem);
  const std::string sentence = words.empty() ? posix::withSystemMessage(couldNotBeMoved(path), error)
                                             : couldNotBeMoved(path) + " because " + std::string(words);
  return withReason(error, refusedItemAt(path), sentence + ".");
}

Status trashFolderFailure(int error, const std::string& path, const std::string& trash) {
  const std::string folder = posix::quoted(trash);
  const std::string_view words = posix::messageFor(error, posix::Subject::TrashFolder);
  const std::string because = words.empty()
                                  ? posix::withSystemMessage("the Trash folder " + folder + " cannot be used", error)
                                  : foundation::formatted(words, folder);
  return withReason(error, refusedItemAt(trash), couldNotBeMoved(path) + " because " + because + ".");
}

/// If permissions, sticky folders and access lists allow the move, the system itself has refused it, and the error is
/// treated as EPERM.
Status trashFailure(const TrashAnswer& answer, const std::string& path) {
  const RefusedItem item = refusedItemAt(path);
  const int error = isAnyRefusal(answer) && item.obstacle == 0 ? EPERM : errorNumberOf(answer);
  return withReason(error, item, posix::onOneLine(answer.description));
}

Status trashRefusal(int error, const std::string& reason, const std::string& path) {
  return Status::failed(error, couldNotBeMoved(path) + ": " + posix::onOneLine(reason) + ".");
}

}  // namespace qm::macos

// SPDX-License-Identifier: MIT
#include "Platform/macos/files/TrashFailure.h"

#include <cerrno>

#include "Platform/foundation/Format.h"
#include "Platform/foundation/PathComponents.h"
#include "Platform/macos/files/SystemRefusal.h"
#include "Platform/posix/ErrorWords.h"

namespace qm::macos {
namespace {

using platform::Status;

/// The largest error number of the system that is accepted.
constexpr long kLastNumber = 255;

struct Meaning {
  long cocoaCode;
  int error;
};

constexpr Meaning kMeanings[] = {
    {kNoSuchFile, ENOENT},       {kFileLocked, EBUSY},     {kMayNotRead, EACCES},
    {kNoSuchFileToRead, ENOENT}, {kMayNotWrite, EACCES},   {kFileExists, EEXIST},
    {kOutOfSpace, ENOSPC},       {kVolumeReadOnly, EROFS}, {kUnsupported, ENOTSUP},
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

Status withReason(int error, const RefusedItem& item, const std::string& otherwise) {
  const std::string refusal = systemRefusal(error, item);
  return Status::failed(error, refusal.empty() ? otherwise : refusal);
}

}  // namespace

int errorNumberOf(const TrashAnswer& answer) {
  if (isNumber(answer.domainBelow, answer.codeBelow)) return static_cast<int>(answer.codeBelow);
  if (isNumber(answer.domain, answer.code)) return static_cast<int>(answer.code);
  if (answer.domain != kCocoaDomain) return EIO;
  for (const Meaning& meaning : kMeanings) {
    if (meaning.cocoaCode == answer.code) return meaning.error;
  }
  return EIO;
}

Status trashFailure(int error, const std::string& path) {
  const std::string name = posix::quoted(foundation::lastPathComponent(path));
  const std::string_view words = posix::messageFor(error, posix::Subject::TrashedItem);
  std::string sentence = words.empty() ? posix::withSystemMessage(name + " couldn’t be moved", error)
                                       : name + " couldn’t be moved because " + std::string(words);
  return withReason(error, refusedItemAt(path), sentence + ".");
}

Status trashFolderFailure(int error, const std::string& path, const std::string& trash) {
  const std::string folder = posix::quoted(trash);
  const std::string_view words = posix::messageFor(error, posix::Subject::TrashFolder);
  const std::string because = words.empty()
                                  ? posix::withSystemMessage("the Trash folder " + folder + " cannot be used", error)
                                  : foundation::formatted(words, folder);
  const std::string name = posix::quoted(foundation::lastPathComponent(path));
  return withReason(error, refusedItemAt(trash), name + " couldn’t be moved because " + because + ".");
}

/// If permissions, sticky folders and access lists allow the move, the system itself has refused it, and the error is
/// treated as EPERM.
Status trashFailure(const TrashAnswer& answer, const std::string& path) {
  const RefusedItem item = refusedItemAt(path);
  const int error = isAnyRefusal(answer) && item.obstacle == 0 ? EPERM : errorNumberOf(answer);
  return withReason(error, item, posix::onOneLine(answer.description));
}

Status trashRefusal(int error, const std::string& reason, const std::string& path) {
  const std::string name = posix::quoted(foundation::lastPathComponent(path));
  return Status::failed(error, name + " couldn’t be moved: " + posix::onOneLine(reason) + ".");
}

}  // namespace qm::macos

// SPDX-License-Identifier: MIT
#include "Platform/macos/files/TrashFailure.h"

#include <cerrno>

#include "Platform/foundation/PathComponents.h"
#include "Platform/macos/files/SystemRefusal.h"
#include "Platform/posix/ErrorWords.h"

namespace qm::macos {
namespace {

using platform::Status;

/// Of an error of the system.
constexpr long kLastNumber = 255;

struct Meaning {
  long cocoaCode;
  int error;
};

constexpr Meaning kMeanings[] = {
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

Status withReason(int error, const std::string& path, const std::string& otherwise) {
  const std::string refusal = systemRefusalAt(error, path);
  return Status::failed(error, refusal.empty() ? otherwise : refusal);
}

}  // namespace

int errorNumberOf(long cocoaCode, long posixCode) {
  if (posixCode > 0 && posixCode <= kLastNumber) return static_cast<int>(posixCode);
  for (const Meaning& meaning : kMeanings) {
    if (meaning.cocoaCode == cocoaCode) return meaning.error;
  }
  return EIO;
}

Status trashFailure(int error, const std::string& path) {
  const std::string name = posix::quoted(foundation::lastPathComponent(path));
  const std::string_view words = posix::messageFor(error, posix::Subject::TrashedItem);
  std::string sentence = words.empty() ? posix::withSystemMessage(name + " couldn’t be moved", error)
                                       : name + " couldn’t be moved because " + std::string(words);
  return withReason(error, path, sentence + ".");
}

Status trashFailure(const TrashAnswer& answer, const std::string& path) {
  return withReason(errorNumberOf(answer.cocoaCode, answer.posixCode), path, posix::onOneLine(answer.description));
}

}  // namespace qm::macos

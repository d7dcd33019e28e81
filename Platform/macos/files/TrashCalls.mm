// SPDX-License-Identifier: MIT
#include "Platform/macos/files/TrashCalls.h"

#include "Platform/macos/Framework.h"

static_assert(qm::macos::kNoSuchFile == NSFileNoSuchFileError && qm::macos::kFileLocked == NSFileLockingError);
static_assert(qm::macos::kMayNotRead == NSFileReadNoPermissionError);
static_assert(qm::macos::kNoSuchFileToRead == NSFileReadNoSuchFileError);
static_assert(qm::macos::kMayNotWrite == NSFileWriteNoPermissionError);
static_assert(qm::macos::kFileExists == NSFileWriteFileExistsError);
static_assert(qm::macos::kOutOfSpace == NSFileWriteOutOfSpaceError);
static_assert(qm::macos::kVolumeReadOnly == NSFileWriteVolumeReadOnlyError);
static_assert(qm::macos::kUnsupported == NSFeatureUnsupportedError);

qm::macos::TrashAnswer qm::macos::trashItem(const std::string& path) {
  const Pool pool;
  NSURL* place = nil;
  NSError* error = nil;
  // `isDirectory` keeps the framework from looking whether the item is a folder: it would follow a link for that.
  NSURL* const item = [NSURL fileURLWithPath:stringOf(path) isDirectory:NO];
  const bool done = [[NSFileManager defaultManager] trashItemAtURL:item resultingItemURL:&place error:&error];
  NSError* const below = [[error userInfo] objectForKey:NSUnderlyingErrorKey];
  return {.done = done != NO,
          .path = textOf([place path]),
          .domain = textOf([error domain]),
          .code = [error code],
          .domainBelow = textOf([below domain]),
          .codeBelow = [below code],
          .description = textOf([error localizedDescription])};
}

// SPDX-License-Identifier: MIT

// Numbers of the system that the code defines itself, so that it compiles on every system. The compiler compares them.
#import <Foundation/Foundation.h>
#include <Security/Security.h>
#include <gtest/gtest.h>
#include <sys/acl.h>
#include <sys/stat.h>

#include <cerrno>

#include "Platform/AuthorizationServices.h"
#include "Platform/StandardDirectories.h"
#include "Platform/macos/SystemCalls.h"
#include "Platform/macos/files/FileRules.h"
#include "Platform/macos/files/TrashParts.h"
#include "Platform/posix/rights/AccessList.h"

namespace qm::macos {
namespace {

static_assert(kNoAttribute == ENOATTR);
static_assert(kNoDump == UF_NODUMP && kOpaque == UF_OPAQUE && kHidden == UF_HIDDEN);
static_assert(kUserImmutable == UF_IMMUTABLE && kUserAppend == UF_APPEND);
static_assert(kSystemImmutable == SF_IMMUTABLE && kSystemAppend == SF_APPEND);
static_assert(kRestricted == SF_RESTRICTED && kNoUnlink == SF_NOUNLINK);

static_assert(posix::kAddFile == ACL_ADD_FILE && posix::kAddFolder == ACL_ADD_SUBDIRECTORY);
static_assert(posix::kDelete == ACL_DELETE && posix::kDeleteChild == ACL_DELETE_CHILD);
static_assert(posix::kWriteSecurity == ACL_WRITE_SECURITY && posix::kChangeOwner == ACL_CHANGE_OWNER);

static_assert(platform::errAuthorizationSuccess == errAuthorizationSuccess);
static_assert(platform::errAuthorizationInvalidRef == errAuthorizationInvalidRef);
static_assert(platform::errAuthorizationDenied == errAuthorizationDenied);
static_assert(platform::errAuthorizationCanceled == errAuthorizationCanceled);
static_assert(platform::errAuthorizationInteractionNotAllowed == errAuthorizationInteractionNotAllowed);
static_assert(platform::errAuthorizationToolExecuteFailure == errAuthorizationToolExecuteFailure);
static_assert(platform::errAuthorizationToolEnvironmentError == errAuthorizationToolEnvironmentError);
static_assert(platform::kAuthorizationFlagDefaults == kAuthorizationFlagDefaults);
static_assert(platform::kAuthorizationFlagInteractionAllowed == kAuthorizationFlagInteractionAllowed);
static_assert(platform::kAuthorizationFlagExtendRights == kAuthorizationFlagExtendRights);
static_assert(platform::kAuthorizationFlagPreAuthorize == kAuthorizationFlagPreAuthorize);
static_assert(kDestroyRights == kAuthorizationFlagDestroyRights);

using platform::DomainMask;
using platform::StandardDirectory;
constexpr auto numberOf(auto ours) { return static_cast<unsigned long>(ours); }
static_assert(numberOf(StandardDirectory::Application) == NSApplicationDirectory);
static_assert(numberOf(StandardDirectory::AdminApplication) == NSAdminApplicationDirectory);
static_assert(numberOf(StandardDirectory::Library) == NSLibraryDirectory);
static_assert(numberOf(StandardDirectory::Documentation) == NSDocumentationDirectory);
static_assert(numberOf(StandardDirectory::Document) == NSDocumentDirectory);
static_assert(numberOf(StandardDirectory::Desktop) == NSDesktopDirectory);
static_assert(numberOf(StandardDirectory::Caches) == NSCachesDirectory);
static_assert(numberOf(StandardDirectory::ApplicationSupport) == NSApplicationSupportDirectory);
static_assert(numberOf(DomainMask::User) == NSUserDomainMask && numberOf(DomainMask::Local) == NSLocalDomainMask);
static_assert(numberOf(DomainMask::System) == NSSystemDomainMask);

int numberOfCocoaError(long code) {
  TrashAnswer answer;
  answer.domain = "NSCocoaErrorDomain";
  answer.code = code;
  return errorNumberOf(answer);
}

TEST(ErrorOfTheFrameworks, StandsForANumberOfTheSystem) {
  EXPECT_EQ(numberOfCocoaError(NSFileNoSuchFileError), ENOENT);
  EXPECT_EQ(numberOfCocoaError(NSFileLockingError), EBUSY);
  EXPECT_EQ(numberOfCocoaError(NSFileReadNoPermissionError), EACCES);
  EXPECT_EQ(numberOfCocoaError(NSFileReadNoSuchFileError), ENOENT);
  EXPECT_EQ(numberOfCocoaError(NSFileWriteNoPermissionError), EACCES);
  EXPECT_EQ(numberOfCocoaError(NSFileWriteFileExistsError), EEXIST);
  EXPECT_EQ(numberOfCocoaError(NSFileWriteOutOfSpaceError), ENOSPC);
  EXPECT_EQ(numberOfCocoaError(NSFileWriteVolumeReadOnlyError), EROFS);
  EXPECT_EQ(numberOfCocoaError(NSFeatureUnsupportedError), ENOTSUP);
}

}  // namespace
}  // namespace qm::macos

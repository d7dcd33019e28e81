// SPDX-License-Identifier: MIT
#include "Platform/macos/SystemCalls.h"

#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>
#include <Security/Security.h>
#include <dlfcn.h>
#include <sys/attr.h>
#include <sys/mount.h>
#include <sys/param.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>

#include "Platform/macos/Framework.h"
#include "Platform/posix/FileError.h"
#include "Platform/posix/SecondTry.h"
#include "Platform/posix/process/ArgumentVector.h"

namespace qm::macos {
namespace {

using platform::AuthorizationFlags;
using platform::AuthorizationItems;
using platform::AuthorizationStatus;

constexpr OSType kFinder = 'MACS';
constexpr AEEventClass kFinderSuite = 'fndr';
constexpr AEEventID kUpdate = 'fupd';

/// Null if the text is not a path.
NSURL* urlOf(const std::string& path) {
  const auto* const bytes = reinterpret_cast<const UInt8*>(path.data());
  const auto length = static_cast<CFIndex>(path.size());
  return [(NSURL*)::CFURLCreateFromFileSystemRepresentation(nullptr, bytes, length, false) autorelease];
}

class Descriptor {
 public:
  Descriptor() = default;
  /// The result is not checked, because every system supports descriptors of this type.
  explicit Descriptor(OSType application) {
    ::AECreateDesc(typeApplSignature, &application, sizeof application, &value_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { ::AEDisposeDesc(&value_); }
  AEDesc* get() { return &value_; }

 private:
  AEDesc value_{typeNull, nullptr};
};

::AuthorizationRef theirs(platform::AuthorizationRef session) { return reinterpret_cast<::AuthorizationRef>(session); }

platform::AuthorizationRef ours(::AuthorizationRef session) {
  return reinterpret_cast<platform::AuthorizationRef>(const_cast<AuthorizationOpaqueRef*>(session));
}

/// The items in the system's form. It copies no value but points into `items`, which must outlive it.
class ItemSet {
 public:
  explicit ItemSet(const platform::AuthorizationItems& items) {
    list_.reserve(items.size());
    for (const platform::AuthorizationItem& item : items) {
      list_.push_back({item.name.c_str(), item.value.size(), const_cast<char*>(item.value.data()), item.flags});
    }
    set_ = {static_cast<UInt32>(list_.size()), list_.data()};
  }

  const AuthorizationItemSet* get() const { return &set_; }

 private:
  std::vector<::AuthorizationItem> list_;
  AuthorizationItemSet set_{};
};

/// Deprecated since 10.7, but without a successor for the system's own tools. It is looked up while the program runs,
/// so that the program also starts on a system that does not have it.
using Execute = OSStatus (*)(::AuthorizationRef, const char*, ::AuthorizationFlags, char* const*, std::FILE**);

Execute execute() {
  static const auto function = reinterpret_cast<Execute>(::dlsym(RTLD_DEFAULT, "AuthorizationExecuteWithPrivileges"));
  return function;
}

}  // namespace

std::uint32_t flagsIn(const struct stat& item) { return item.st_flags; }

int changeFlags(int item, std::uint32_t flags) { return posix::errorOf(::fchflags(item, flags)); }

int changeFlagsByName(const posix::Place& place, std::uint32_t flags) {
  attrlist which{};
  which.bitmapcount = ATTR_BIT_MAP_COUNT;
  which.commonattr = ATTR_CMN_FLAGS;
  return posix::errorOf(
      ::setattrlistat(place.folder.get(), place.name.c_str(), &which, &flags, sizeof flags, FSOPT_NOFOLLOW));
}

int writeAttribute(int item, const std::string& name, const std::string& text) {
  return posix::errorOf(::fsetxattr(item, name.c_str(), text.data(), text.size(), 0, 0));
}

std::string readAttribute(int item, const std::string& name) {
  std::array<char, MAXPATHLEN + 64> text{};
  const ssize_t size = ::fgetxattr(item, name.c_str(), text.data(), text.size(), 0, 0);
  return size > 0 ? std::string(text.data(), static_cast<std::size_t>(size)) : std::string();
}

void removeAttribute(int item, const std::string& name) { static_cast<void>(::fremovexattr(item, name.c_str(), 0)); }

std::string volumeOf(int folder) {
  struct statfs volume {};
  return ::fstatfs(folder, &volume) == 0 ? std::string(volume.f_mntonname) : std::string();
}

int writeOut(const std::string& volume) {
  return posix::errorReturned(::sync_volume_np(volume.c_str(), SYNC_VOLUME_FULLSYNC | SYNC_VOLUME_WAIT));
}

TrashAnswer trashItem(const std::string& path) {
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

std::string locationOf(const std::string& path) {
  const Pool pool;
  return textOf([urlOf(path) absoluteString]);
}

platform::OSStatus permissionToUpdateFinder() {
  const Pool pool;
  Descriptor finder(kFinder);
  return ::AEDeterminePermissionToAutomateTarget(finder.get(), kFinderSuite, kUpdate, false);
}

platform::OSStatus updateFinder(const std::string& location) {
  const Pool pool;
  Descriptor finder(kFinder);
  Descriptor event;
  Descriptor reply;
  const auto length = static_cast<Size>(location.size());
  return posix::firstFailure(
      [&] {
        return ::AECreateAppleEvent(kFinderSuite, kUpdate, finder.get(), kAutoGenerateReturnID, kAnyTransactionID,
                                    event.get());
      },
      [&] { return ::AEPutParamPtr(event.get(), keyDirectObject, typeFileURL, location.data(), length); },
      [&] { return ::AESendMessage(event.get(), reply.get(), kAENoReply, kAEDefaultTimeout); });
}

platform::OSStatus registerBundle(const std::string& path) {
  const Pool pool;
  return ::LSRegisterURL((CFURLRef)urlOf(path), true);
}

AuthorizationStatus createSession(const AuthorizationItems& environment, AuthorizationFlags flags,
                                  platform::AuthorizationRef* session) {
  const Pool pool;
  ::AuthorizationRef made = nullptr;
  const OSStatus status = ::AuthorizationCreate(nullptr, ItemSet(environment).get(), flags, &made);
  *session = ours(made);
  return status;
}

AuthorizationStatus copySessionRights(platform::AuthorizationRef session, const AuthorizationItems& rights,
                                      const AuthorizationItems& environment, AuthorizationFlags flags) {
  const Pool pool;
  return ::AuthorizationCopyRights(theirs(session), ItemSet(rights).get(), ItemSet(environment).get(), flags, nullptr);
}

AuthorizationStatus freeSession(platform::AuthorizationRef session, AuthorizationFlags flags) {
  const Pool pool;
  return ::AuthorizationFree(theirs(session), flags);
}

AuthorizationStatus copySessionOfParent(platform::AuthorizationRef* session, AuthorizationFlags flags) {
  const Pool pool;
  ::AuthorizationRef found = nullptr;
// Deprecated since 10.7, but without a successor: no other call gives a tool the session of its parent.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
  const OSStatus status = ::AuthorizationCopyPrivilegedReference(&found, flags);
#pragma clang diagnostic pop
  *session = ours(found);
  return status;
}

bool canExecute() { return execute() != nullptr; }

AuthorizationStatus executeWithRights(platform::AuthorizationRef session, const std::string& tool,
                                      AuthorizationFlags flags, const std::vector<std::string>& arguments,
                                      std::FILE** output) {
  const Pool pool;
  // This call takes the arguments without the path.
  const std::vector<char*> vector = posix::argumentVector(tool, arguments);
  return execute()(theirs(session), tool.c_str(), flags, vector.data() + 1, output);
}

}  // namespace qm::macos

// SPDX-License-Identifier: MIT
#include "Platform/macos/privileges/AuthorizationCalls.h"

#include <Security/Security.h>
#include <dlfcn.h>

#include "Platform/macos/Framework.h"
#include "Platform/posix/process/ArgumentVector.h"

namespace qm::macos {
namespace {

using platform::AuthorizationStatus;

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

AuthorizationStatus createSession(const platform::AuthorizationItems& environment, platform::AuthorizationFlags flags,
                                  platform::AuthorizationRef* session) {
  const Pool pool;
  ::AuthorizationRef made = nullptr;
  const OSStatus status = ::AuthorizationCreate(nullptr, ItemSet(environment).get(), flags, &made);
  *session = ours(made);
  return status;
}

AuthorizationStatus copySessionRights(platform::AuthorizationRef session, const platform::AuthorizationItems& rights,
                                      const platform::AuthorizationItems& environment,
                                      platform::AuthorizationFlags flags) {
  const Pool pool;
  return ::AuthorizationCopyRights(theirs(session), ItemSet(rights).get(), ItemSet(environment).get(), flags, nullptr);
}

AuthorizationStatus freeSession(platform::AuthorizationRef session, platform::AuthorizationFlags flags) {
  const Pool pool;
  return ::AuthorizationFree(theirs(session), flags);
}

AuthorizationStatus copySessionOfParent(platform::AuthorizationRef* session, platform::AuthorizationFlags flags) {
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
                                      platform::AuthorizationFlags flags, const std::vector<std::string>& arguments,
                                      std::FILE** output) {
  const Pool pool;
  // This call takes the arguments without the path.
  const std::vector<char*> vector = posix::argumentVector(tool, arguments);
  return execute()(theirs(session), tool.c_str(), flags, vector.data() + 1, output);
}

}  // namespace qm::macos

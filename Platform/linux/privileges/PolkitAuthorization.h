#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Platform/AuthorizationServices.h"
#include "Platform/Console.h"
#include "Platform/linux/privileges/HelperConnection.h"
#include "Platform/linux/privileges/PrivilegePrograms.h"

namespace qm::linux_ {

/// Administrator rights through polkit: a session with rights is a helper that pkexec started, and lives as
/// long as the session. Credentials are the environment's items "username" and "password". The console is
/// told why rights were not granted, why a tool was not started, in both cases what is left as it was, and that a
/// tool failed.
///
///   granted                                      0
///   the dialog was dismissed                     errAuthorizationCanceled
///   wrong name or password, or not allowed       errAuthorizationDenied
///   nothing that could ask, or not allowed to    errAuthorizationInteractionNotAllowed
///   pkexec, polkit or a program of ours missing  errAuthorizationToolEnvironmentError
///   a tool that cannot be started, or is refused errAuthorizationToolExecuteFailure
///   no such session, or its helper has ended     errAuthorizationInvalidRef
///
/// A tool that it starts runs as root and needs no session: none is ever handed down. Any thread.
class PolkitAuthorization : public platform::AuthorizationServices {
 public:
  /// The console outlives this object and every tool that it starts.
  PolkitAuthorization(platform::Console& console, PrivilegePrograms programs);
  ~PolkitAuthorization() override;
  PolkitAuthorization(const PolkitAuthorization&) = delete;
  PolkitAuthorization& operator=(const PolkitAuthorization&) = delete;

  platform::AuthorizationStatus create(const platform::AuthorizationItems& environment,
                                       platform::AuthorizationFlags flags,
                                       platform::AuthorizationRef* session) override;
  void announce(const std::string& tool, const std::vector<std::string>& arguments) override;
  platform::AuthorizationStatus copyRights(platform::AuthorizationRef session,
                                           const platform::AuthorizationItems& rights,
                                           const platform::AuthorizationItems& environment,
                                           platform::AuthorizationFlags flags) override;
  platform::AuthorizationStatus free(platform::AuthorizationRef session, platform::AuthorizationFlags flags) override;
  platform::AuthorizationStatus executeWithPrivileges(platform::AuthorizationRef session, const std::string& tool,
                                                      platform::AuthorizationFlags flags,
                                                      const std::vector<std::string>& arguments,
                                                      std::shared_ptr<platform::CommunicationsPipe>* pipe) override;
  platform::AuthorizationStatus copyPrivilegedReference(platform::AuthorizationRef* session,
                                                        platform::AuthorizationFlags flags) override;

 private:
  using SharedConnection = std::shared_ptr<HelperConnection>;

  std::string takeAnnounced();
  platform::AuthorizationStatus open(platform::AuthorizationRef session,
                                     const platform::AuthorizationItems& environment,
                                     platform::AuthorizationFlags flags, const std::string& announced);

  platform::Console& console_;
  const PrivilegePrograms programs_;

  std::mutex mutex_;  // guards what follows
  std::uintptr_t lastSession_ = 0;
  /// What a refusal leaves undone, for its message.
  std::string announced_;
  /// A session without rights has no connection.
  std::map<platform::AuthorizationRef, SharedConnection> sessions_;
};

}  // namespace qm::linux_

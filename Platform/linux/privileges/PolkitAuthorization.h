// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Platform/AuthorizationServices.h"
#include "Platform/Console.h"
#include "Platform/Users.h"
#include "Platform/linux/privileges/HelperConnection.h"
#include "Platform/linux/privileges/HelperOpening.h"
#include "Platform/linux/privileges/PrivilegePrograms.h"

namespace qm::linux_ {

/// Administrator rights through polkit. A session with rights has a helper, which pkexec started. The helper runs as
/// long as the session. Credentials are the environment's items "username" and "password". The console shows why rights
/// were not granted or why a tool was not started, and which item is left as it was because of that. It also shows that
/// a tool failed.
///
///   granted                                      0
///   the dialog was dismissed                     errAuthorizationCanceled
///   wrong name or password, or not allowed       errAuthorizationDenied
///   no agent can ask, or asking is not allowed   errAuthorizationInteractionNotAllowed
///   pkexec, polkit, a program of ours or the
///   user's Trash cannot be used, or the helper
///   ended before it was ready                    errAuthorizationToolEnvironmentError
///   a tool that cannot be started, or is refused errAuthorizationToolExecuteFailure
///   no such session, also because it was freed
///   while rights were requested for it, or its
///   helper has ended                             errAuthorizationInvalidRef
///
/// A helper does only what its scope allows. If its scope is to run any tool, a dialog grants rights for the one
/// command that it shows, and the next command opens the dialog again. Credentials, and rights that were requested
/// without a command, hold for all commands. A tool that the helper starts runs as root and needs no session, so none
/// is ever handed down. Any thread.
class PolkitAuthorization : public platform::AuthorizationServices {
 public:
  /// The console must outlive this object and every tool that it starts. The users must outlive this object.
  PolkitAuthorization(platform::Console& console, const platform::Users& users, PrivilegePrograms programs);
  ~PolkitAuthorization() override;
  PolkitAuthorization(const PolkitAuthorization&) = delete;
  PolkitAuthorization& operator=(const PolkitAuthorization&) = delete;

  platform::AuthorizationStatus create(const platform::AuthorizationItems& environment,
                                       platform::AuthorizationFlags flags,
                                       platform::AuthorizationRef* session) override;
  void announce(const std::string& tool, const std::vector<std::string>& arguments) override;
  void expectHollowFolder(const std::string& folder) override;
  platform::AuthorizationStatus copyRights(platform::AuthorizationRef session,
                                           const platform::AuthorizationItems& rights,
                                           const platform::AuthorizationItems& environment,
                                           platform::AuthorizationFlags flags) override;
  platform::AuthorizationStatus free(platform::AuthorizationRef session, platform::AuthorizationFlags flags) override;
  platform::AuthorizationStatus executeWithPrivileges(platform::AuthorizationRef session, const std::string& tool,
                                                      platform::AuthorizationFlags flags,
                                                      const std::vector<std::string>& asked,
                                                      std::shared_ptr<platform::CommunicationsPipe>* pipe) override;
  /// As root, also waits for the helpers that were started in place of tools.
  void releaseRights() override;
  /// The helper itself, which works by descriptor instead of by name, for the user at the console.
  platform::ToolCommand commandForRoot(const std::string& tool, const std::vector<std::string>& arguments) override;
  platform::AuthorizationStatus copyPrivilegedReference(platform::AuthorizationRef* session,
                                                        platform::AuthorizationFlags flags) override;

 private:
  using SharedConnection = std::shared_ptr<HelperConnection>;

  /// A session without rights has no connection.
  struct Session {
    SharedConnection connection;
    /// The one command that the rights allow. Empty if they allow all; {""} if they are used up.
    OnlyCommand only;
  };

  OnlyCommand takeAnnounced();
  std::vector<std::string> argumentsToUse(const std::string& tool, const std::vector<std::string>& arguments);
  platform::AuthorizationStatus open(platform::AuthorizationRef session,
                                     const platform::AuthorizationItems& environment,
                                     platform::AuthorizationFlags flags, const OnlyCommand& announced);
  /// Gives the session the rights that were obtained, or prints why there are none. Returns the status of the request.
  platform::AuthorizationStatus keep(platform::AuthorizationRef session, HelperOpening opening,
                                     const OnlyCommand& command);
  platform::AuthorizationStatus connectionFor(platform::AuthorizationRef session, const OnlyCommand& command,
                                              SharedConnection* connection);
  bool hasConnections() const;

  platform::Console& console_;
  const platform::Users& users_;
  const PrivilegePrograms programs_;

  std::mutex mutex_;  // guards the following members
  std::uintptr_t lastSession_ = 0;
  /// The command that the next rights are requested for.
  OnlyCommand announced_;
  /// A removal of this folder succeeds only if nothing but empty folders and housekeeping files is in it.
  std::string hollowFolder_;
  std::map<platform::AuthorizationRef, Session> sessions_;
};

}  // namespace qm::linux_

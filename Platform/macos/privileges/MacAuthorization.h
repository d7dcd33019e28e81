// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Platform/AuthorizationServices.h"
#include "Platform/Console.h"

namespace qm::macos {

class ToolOutput;

/// The system's Authorization Services. The tools that they start go by names and remove what only root can see, so two
/// things are kept from them:
///
/// - The removal of a folder that is to be empty takes away, one by one, what was found to be in it, and never what
///   comes meanwhile. Where it cannot be shown to be empty there is no removal, and nobody is asked for a password.
/// - A process of root's starts no tool on a way that somebody else could lead elsewhere.
class MacAuthorization final : public platform::AuthorizationServices {
 public:
  /// The console outlives it.
  explicit MacAuthorization(platform::Console& console);
  MacAuthorization(const MacAuthorization&) = delete;
  MacAuthorization& operator=(const MacAuthorization&) = delete;
  ~MacAuthorization() override;

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
                                                      const std::vector<std::string>& arguments,
                                                      std::shared_ptr<platform::CommunicationsPipe>* pipe) override;
  void releaseRights() override;
  platform::ToolCommand commandForRoot(const std::string& tool, const std::vector<std::string>& arguments) override;
  platform::AuthorizationStatus copyPrivilegedReference(platform::AuthorizationRef* session,
                                                        platform::AuthorizationFlags flags) override;

 private:
  /// A session of the system's, by a handle of its own: the system's may mean another session once it has been freed.
  struct Session {
    platform::AuthorizationRef system = nullptr;  // null when its rights have been released
  };

  platform::AuthorizationRef keep(platform::AuthorizationRef system);
  /// The system's session; null where there is none, or none any more.
  platform::AuthorizationRef systems(platform::AuthorizationRef session);
  std::shared_ptr<platform::CommunicationsPipe> keepOutput(std::FILE* output);
  /// The arguments as they are meant; null where the tool is not to be started, which is said.
  std::optional<std::vector<std::string>> asMeant(const std::string& tool, const std::vector<std::string>& arguments);

  platform::Console& console_;
  std::mutex mutex_;
  std::string hollowFolder_;                                                 // guarded
  std::map<platform::AuthorizationRef, std::unique_ptr<Session>> sessions_;  // guarded
  std::vector<std::shared_ptr<ToolOutput>> outputs_;                         // guarded: of tools that may run still
  std::atomic<bool> nextIsRefused_ = false;  // there is to be no session for the tool that was announced
};

}  // namespace qm::macos

// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <mutex>
#include <optional>

#include "Platform/AuthorizationServices.h"
#include "Platform/Console.h"

namespace qm::macos {

/// The system's Authorization Services. The tools that they start go by names and remove what only root can see, so two
/// things are kept from them:
///
/// - The removal of a folder that is to be empty takes away, one by one, what was found to be in it, and never what
///   comes meanwhile. Where it cannot be shown to be empty there is no removal, and nobody is asked for a password.
/// - A process of root's starts no tool on a way that somebody else could lead elsewhere.
class MacAuthorization final : public platform::AuthorizationServices {
 public:
  /// The console outlives it.
  explicit MacAuthorization(platform::Console& console) : console_(console) {}

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
  platform::ToolCommand commandForRoot(const std::string& tool, const std::vector<std::string>& arguments) override;
  platform::AuthorizationStatus copyPrivilegedReference(platform::AuthorizationRef* session,
                                                        platform::AuthorizationFlags flags) override;

 private:
  /// The arguments as they are meant; null where the tool is not to be started, which is said.
  std::optional<std::vector<std::string>> asMeant(const std::string& tool, const std::vector<std::string>& arguments);

  platform::Console& console_;
  std::mutex mutex_;
  std::string hollowFolder_;                 // guarded
  std::atomic<bool> nextIsRefused_ = false;  // the tool that was announced is not to be started
};

}  // namespace qm::macos

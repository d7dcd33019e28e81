// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/AuthorizationServices.h"

namespace qm::removal {

/// Administrator rights that are never requested and never granted, because nobody may be there to answer a dialog.
/// Commands that a root process starts without a dialog (`commandForRoot`) are not affected.
class WithoutDialog final : public platform::AuthorizationServices {
 public:
  /// The system's own services must outlive this object.
  explicit WithoutDialog(platform::AuthorizationServices& system) : system_(system) {}

  platform::AuthorizationStatus create(const platform::AuthorizationItems& environment,
                                       platform::AuthorizationFlags flags,
                                       platform::AuthorizationRef* session) override;
  platform::AuthorizationStatus copyRights(platform::AuthorizationRef session,
                                           const platform::AuthorizationItems& rights,
                                           const platform::AuthorizationItems& environment,
                                           platform::AuthorizationFlags flags) override;
  platform::AuthorizationStatus free(platform::AuthorizationRef session, platform::AuthorizationFlags flags) override;
  platform::AuthorizationStatus executeWithPrivileges(platform::AuthorizationRef session, const std::string& tool,
                                                      platform::AuthorizationFlags flags,
                                                      const std::vector<std::string>& arguments,
                                                      std::shared_ptr<platform::CommunicationsPipe>* pipe) override;
  void expectHollowFolder(const std::string& folder) override { system_.expectHollowFolder(folder); }
  void releaseRights() override { system_.releaseRights(); }
  platform::ToolCommand commandForRoot(const std::string& tool, const std::vector<std::string>& arguments) override;
  platform::AuthorizationStatus copyPrivilegedReference(platform::AuthorizationRef* session,
                                                        platform::AuthorizationFlags flags) override;

 private:
  platform::AuthorizationServices& system_;
};

}  // namespace qm::removal

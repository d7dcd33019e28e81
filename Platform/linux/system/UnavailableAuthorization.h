#pragma once

#include "Platform/AuthorizationServices.h"
#include "Platform/Console.h"

namespace qm::linux_ {

/// Administrator rights where there are none to be had: every call that needs them answers
/// errAuthorizationInteractionNotAllowed, and asking for them says so on the console. No session is ever handed down.
class UnavailableAuthorization : public platform::AuthorizationServices {
 public:
  explicit UnavailableAuthorization(platform::Console& console) : console_(console) {}

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
  platform::AuthorizationStatus copyPrivilegedReference(platform::AuthorizationRef* session,
                                                        platform::AuthorizationFlags flags) override;

 private:
  platform::AuthorizationStatus refuse();

  platform::Console& console_;
};

}  // namespace qm::linux_

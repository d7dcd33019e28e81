#include "Platform/linux/system/UnavailableAuthorization.h"

namespace qm::linux_ {

using platform::AuthorizationFlags;
using platform::AuthorizationItems;
using platform::AuthorizationRef;
using platform::AuthorizationStatus;

AuthorizationStatus UnavailableAuthorization::create(const AuthorizationItems& /*environment*/,
                                                     AuthorizationFlags /*flags*/, AuthorizationRef* session) {
  *session = nullptr;
  return refuse();
}

AuthorizationStatus UnavailableAuthorization::copyRights(AuthorizationRef /*session*/,
                                                         const AuthorizationItems& /*rights*/,
                                                         const AuthorizationItems& /*environment*/,
                                                         AuthorizationFlags /*flags*/) {
  return refuse();
}

AuthorizationStatus UnavailableAuthorization::free(AuthorizationRef /*session*/, AuthorizationFlags /*flags*/) {
  return platform::errAuthorizationSuccess;
}

AuthorizationStatus UnavailableAuthorization::executeWithPrivileges(
    AuthorizationRef /*session*/, const std::string& /*tool*/, AuthorizationFlags /*flags*/,
    const std::vector<std::string>& /*arguments*/, std::shared_ptr<platform::CommunicationsPipe>* /*pipe*/) {
  return platform::errAuthorizationInteractionNotAllowed;
}

AuthorizationStatus UnavailableAuthorization::copyPrivilegedReference(AuthorizationRef* session,
                                                                      AuthorizationFlags /*flags*/) {
  *session = nullptr;
  return platform::errAuthorizationSuccess;
}

AuthorizationStatus UnavailableAuthorization::refuse() {
  console_.print("Administrator rights are not available in this version; items that need them stay where they are.");
  return platform::errAuthorizationInteractionNotAllowed;
}

}  // namespace qm::linux_

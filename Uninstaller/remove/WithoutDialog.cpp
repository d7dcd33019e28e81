// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/WithoutDialog.h"

namespace qm::removal {

using namespace platform;  // the names of Authorization Services are long enough as they are

AuthorizationStatus WithoutDialog::create(const AuthorizationItems& environment, AuthorizationFlags flags,
                                          AuthorizationRef* session) {
  return system_.create(environment, flags, session);
}

AuthorizationStatus WithoutDialog::copyRights(AuthorizationRef /*session*/, const AuthorizationItems& /*rights*/,
                                              const AuthorizationItems& /*environment*/, AuthorizationFlags /*flags*/) {
  return errAuthorizationInteractionNotAllowed;
}

AuthorizationStatus WithoutDialog::free(AuthorizationRef session, AuthorizationFlags flags) {
  return system_.free(session, flags);
}

AuthorizationStatus WithoutDialog::executeWithPrivileges(AuthorizationRef /*session*/, const std::string& /*tool*/,
                                                         AuthorizationFlags /*flags*/,
                                                         const std::vector<std::string>& /*arguments*/,
                                                         std::shared_ptr<CommunicationsPipe>* /*pipe*/) {
  return errAuthorizationInvalidRef;
}

ToolCommand WithoutDialog::commandForRoot(const std::string& tool, const std::vector<std::string>& arguments) {
  return system_.commandForRoot(tool, arguments);
}

AuthorizationStatus WithoutDialog::copyPrivilegedReference(AuthorizationRef* session, AuthorizationFlags /*flags*/) {
  *session = nullptr;
  return errAuthorizationSuccess;
}

}  // namespace qm::removal

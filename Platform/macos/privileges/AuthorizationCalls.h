// SPDX-License-Identifier: MIT
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "Platform/AuthorizationServices.h"

/// The calls of Authorization Services, each as it is.
namespace qm::macos {

platform::AuthorizationStatus createSession(const platform::AuthorizationItems& environment,
                                            platform::AuthorizationFlags flags, platform::AuthorizationRef* session);
platform::AuthorizationStatus copySessionRights(platform::AuthorizationRef session,
                                                const platform::AuthorizationItems& rights,
                                                const platform::AuthorizationItems& environment,
                                                platform::AuthorizationFlags flags);
platform::AuthorizationStatus freeSession(platform::AuthorizationRef session, platform::AuthorizationFlags flags);
platform::AuthorizationStatus copySessionOfParent(platform::AuthorizationRef* session,
                                                  platform::AuthorizationFlags flags);

/// The system has the call that starts tools.
bool canExecute();
/// That call; only where the system has it. `output` is the tool's, which the caller closes.
platform::AuthorizationStatus executeWithRights(platform::AuthorizationRef session, const std::string& tool,
                                                platform::AuthorizationFlags flags,
                                                const std::vector<std::string>& arguments, std::FILE** output);

}  // namespace qm::macos

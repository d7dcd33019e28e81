// SPDX-License-Identifier: MIT
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "Platform/AuthorizationServices.h"

/// Thin wrappers of the calls of Authorization Services.
namespace qm::macos {

/// When a session is freed with this option, its rights are also taken from everybody who shares them.
inline constexpr platform::AuthorizationFlags kDestroyRights = 8;

platform::AuthorizationStatus createSession(const platform::AuthorizationItems& environment,
                                            platform::AuthorizationFlags flags, platform::AuthorizationRef* session);
platform::AuthorizationStatus copySessionRights(platform::AuthorizationRef session,
                                                const platform::AuthorizationItems& rights,
                                                const platform::AuthorizationItems& environment,
                                                platform::AuthorizationFlags flags);
platform::AuthorizationStatus freeSession(platform::AuthorizationRef session, platform::AuthorizationFlags flags);
platform::AuthorizationStatus copySessionOfParent(platform::AuthorizationRef* session,
                                                  platform::AuthorizationFlags flags);

/// Whether the system has the call that starts tools with administrator rights.
bool canExecute();
/// Starts a tool with that call. Only if `canExecute`. `output` is the tool's output, which the caller closes.
platform::AuthorizationStatus executeWithRights(platform::AuthorizationRef session, const std::string& tool,
                                                platform::AuthorizationFlags flags,
                                                const std::vector<std::string>& arguments, std::FILE** output);

}  // namespace qm::macos

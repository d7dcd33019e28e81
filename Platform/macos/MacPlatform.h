// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/MainThread.h"
#include "Platform/Platform.h"
#include "Platform/ProductIdentity.h"
#include "Platform/UserInterface.h"
#include "Platform/Users.h"
#include "Platform/posix/process/DescriptorWait.h"

namespace qm::macos {

/// The services that the front end provides. They must never be destroyed, because the services that use them are not.
struct FrontEndServices {
  platform::MainThread& mainThread;
  posix::DescriptorWait& descriptorWait;
  /// Null without a toolkit.
  platform::UserInterface* userInterface = nullptr;
  /// Pass this if a program run by root works for one user after another: it returns the current one as the console
  /// user. Null for the system's own users.
  platform::Users* users = nullptr;

  platform::Users& usersOr(platform::Users& systems) const { return users != nullptr ? *users : systems; }
};

/// The services of a Mac for a product, together with those of the front end. The first call creates the set. It must
/// come before any other thread exists, because it also normalises the state that the process has inherited
/// (`settleInheritedState`). Later calls return the same set. It is never destroyed, because a worker may be inside one
/// of the services while the process ends.
const platform::Platform& macPlatform(const platform::ProductIdentity& product, const FrontEndServices& frontEnd);

}  // namespace qm::macos

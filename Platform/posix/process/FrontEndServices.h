// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/MainThread.h"
#include "Platform/UserInterface.h"
#include "Platform/Users.h"
#include "Platform/posix/process/DescriptorWait.h"

namespace qm::posix {

/// The services that the front end provides. They must never be destroyed, because the services that use them are not.
struct FrontEndServices {
  platform::MainThread& mainThread;
  DescriptorWait& descriptorWait;
  /// Null without a toolkit.
  platform::UserInterface* userInterface = nullptr;
  /// Pass this if a program run by root works for one user after another: it returns the current one as the console
  /// user. Null for the system's own users.
  platform::Users* users = nullptr;

  platform::Users& usersOr(platform::Users& systems) const { return users != nullptr ? *users : systems; }
};

}  // namespace qm::posix

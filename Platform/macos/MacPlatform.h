// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/MainThread.h"
#include "Platform/Platform.h"
#include "Platform/ProductIdentity.h"
#include "Platform/UserInterface.h"
#include "Platform/Users.h"
#include "Platform/posix/process/DescriptorWait.h"

namespace qm::macos {

/// What the front end brings along. All of it outlives every user.
struct FrontEndServices {
  platform::MainThread& mainThread;
  posix::DescriptorWait& descriptorWait;
  /// Null where there is no toolkit.
  platform::UserInterface* userInterface = nullptr;
  /// Who is meant, where that is not for the system to say: a program of root's may work for one person after another.
  platform::Users* users = nullptr;
};

/// The services of a Mac for a product, together with those of the front end. Made by the first call, which comes
/// before any other thread exists and also settles the state that the process was started in; later calls return the
/// same set. Never destroyed: a worker may be inside one of the services while the process ends.
const platform::Platform& macPlatform(const platform::ProductIdentity& product, const FrontEndServices& frontEnd);

}  // namespace qm::macos

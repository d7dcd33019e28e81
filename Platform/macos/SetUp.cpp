// SPDX-License-Identifier: MIT
#include "Platform/SetUp.h"

#include "Platform/macos/MacPlatform.h"
#include "Platform/posix/process/MainLoop.h"

const qm::platform::Platform& qm::platform::setUp(const ProductIdentity& product, Users* users) {
  static auto* const loop = new posix::MainLoop;
  install(&macos::macPlatform(product, {.mainThread = *loop, .descriptorWait = *loop, .users = users}));
  return platform();
}

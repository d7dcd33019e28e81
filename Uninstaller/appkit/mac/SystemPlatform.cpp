// SPDX-License-Identifier: MIT
#include "Platform/macos/MacServices.h"
#include "Uninstaller/Application.h"
#include "Uninstaller/appkit/FrontEnd.h"

const qm::platform::Platform& qm::uninstaller::systemPlatform(const platform::ProductIdentity& product) {
  auto& front = appkit::frontEnd();
  return macos::macPlatform(
      product,
      {.mainThread = front.mainThread, .descriptorWait = front.mainThread, .userInterface = &front.userInterface});
}

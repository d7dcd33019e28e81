// SPDX-License-Identifier: MIT
#include "Platform/linux/LinuxPlatform.h"
#include "Uninstaller/Application.h"
#include "Uninstaller/qt/FrontEnd.h"

const qm::platform::Platform& qm::uninstaller::systemPlatform(const platform::ProductIdentity& product) {
  auto& front = qt::frontEnd();
  return linux_::linuxPlatform(
      product,
      {.mainThread = front.mainThread, .descriptorWait = front.descriptorWait, .userInterface = &front.userInterface});
}

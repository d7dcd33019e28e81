#include "Platform/Application.h"
#include "Platform/linux/LinuxPlatform.h"
#include "Platform/linux/qt/FrontEnd.h"

const qm::platform::Platform& qm::platform::systemPlatform() {
  auto& front = linux_::frontEnd();
  return linux_::linuxPlatform(
      {.mainThread = front.mainThread, .userInterface = front.userInterface, .descriptorWait = front.descriptorWait});
}

#include "Platform/Application.h"
#include "Uninstaller/AppController.h"

int main(int argc, char** argv) {
  qm::platform::install(&qm::platform::systemPlatform());
  return qm::platform::applicationMain(argc, argv, [] { return std::make_unique<AppController>(); });
}

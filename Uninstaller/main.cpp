#include "Uninstaller/AppController.h"
#include "Uninstaller/Application.h"
#include "Uninstaller/Product.h"

int main(int argc, char** argv) {
  qm::platform::install(&qm::uninstaller::systemPlatform(kProduct));
  return qm::uninstaller::applicationMain(argc, argv, kProduct, [] { return std::make_unique<AppController>(); });
}

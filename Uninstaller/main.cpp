// SPDX-License-Identifier: MIT
#include "Uninstaller/AppController.h"
#include "Uninstaller/Application.h"
#include "Uninstaller/Product.h"
#include "Uninstaller/SystemLanguage.h"

int main(int argc, char** argv) {
  // Never destroyed: a worker may be inside one of its services while the process ends.
  static auto& observer = *new RemovalObserver(qm::uninstaller::systemPlatform(kProduct));
  qm::platform::install(&observer.services());
  qm::uninstaller::useLanguage(qm::uninstaller::systemLanguage());
  return qm::uninstaller::applicationMain(argc, argv, kProduct,
                                          [] { return std::make_unique<AppController>(observer); });
}

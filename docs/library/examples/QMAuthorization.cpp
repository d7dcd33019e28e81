// SPDX-License-Identifier: MIT
#include "Shared/QMAuthorization.h"

#include <iostream>

#include "Platform/SetUp.h"

int main() {
  qm::platform::setUp({.program = "example"});
  // The first call decides: this program asks nobody for a password.
  QMAuthorization* rights = QMAuthorization::sharedController(QMAuthorization::WithGUI::No);
  std::cout << std::boolalpha << "may ask: " << rights->canAuthorize() << '\n'
            << "has rights: " << rights->isAuthorized() << '\n';

  std::cout << "status of a tool: " << rights->authExecTask("/bin/mkdir", {"/opt/new"}) << '\n'
            << "status of no tool: " << rights->authExecTask("/bin/no-such-tool", {}) << '\n';

  // Refused by the guard before rights are asked for; the console says so.
  std::cout << "removes /Applications: " << rights->authRemoveFile("/Applications") << '\n';

  rights->release();  // harmless: the object lives as long as the process
  rights->authEnd();
  return 0;
}

// SPDX-License-Identifier: MIT
#include "Uninstaller/appkit/FrontEnd.h"

#include "Uninstaller/appkit/MainInterface.h"
#include "Uninstaller/appkit/PlanView.h"

namespace qm::appkit {

FrontEnd::FrontEnd() = default;
FrontEnd::~FrontEnd() = default;

bool FrontEnd::mayQuit() const {
  return userInterface.isAtItsEnd() || interface == nullptr || interface->takesActions();
}

FrontEnd& frontEnd() {
  static auto* const shared = new FrontEnd;
  return *shared;
}

}  // namespace qm::appkit

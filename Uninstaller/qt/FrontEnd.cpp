// SPDX-License-Identifier: MIT
#include "Uninstaller/qt/FrontEnd.h"

namespace qm::qt {

FrontEnd& frontEnd() {
  static auto* const shared = new FrontEnd;
  return *shared;
}

}  // namespace qm::qt

#include "Platform/linux/qt/FrontEnd.h"

namespace qm::linux_ {

FrontEnd& frontEnd() {
  static auto* const shared = new FrontEnd;
  return *shared;
}

}  // namespace qm::linux_

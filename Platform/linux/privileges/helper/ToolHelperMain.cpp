// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/helper/ToolHelperMain.h"

#include "Platform/linux/privileges/helper/AnyToolPolicy.h"
#include "Platform/linux/privileges/helper/HelperMain.h"

namespace qm::linux_ {

int runToolHelper(const platform::ProductIdentity& product, int count, char** arguments) {
  const bool isForOne = count > 1 && arguments[1][0] == '/';
  if (!isForOne) return runHelper(AnyToolPolicy(product), count, arguments);
  const AnyToolPolicy only(product, Launch{1, arguments[1], {arguments + 2, arguments + count}});
  return runHelper(only, 1, arguments);
}

}  // namespace qm::linux_

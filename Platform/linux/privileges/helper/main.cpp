// The helper that runs any program with administrator rights. Its dialog shows its command line: the program and its
// arguments, to which its rights are then restricted, or none, which stands for all that the application launches.

#include "Platform/linux/privileges/helper/AnyToolPolicy.h"
#include "Platform/linux/privileges/helper/HelperMain.h"

int main(int count, char** arguments) {
  using namespace qm::linux_;
  const bool isForOne = count > 1 && arguments[1][0] == '/';
  if (!isForOne) return runHelper(AnyToolPolicy(), count, arguments);
  const AnyToolPolicy only(Launch{1, arguments[1], {arguments + 2, arguments + count}});
  return runHelper(only, 1, arguments);
}

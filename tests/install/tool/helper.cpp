// SPDX-License-Identifier: MIT
#include <Platform/linux/privileges/helper/ToolHelperMain.h>

#include "Product.h"

int main(int count, char** arguments) { return qm::linux_::runToolHelper(kTidy, count, arguments); }

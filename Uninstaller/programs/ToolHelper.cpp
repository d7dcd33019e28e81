// SPDX-License-Identifier: MIT

// Runs any program with administrator rights, for the maker's applications.

#include "Platform/linux/privileges/helper/ToolHelperMain.h"
#include "Uninstaller/Product.h"

int main(int count, char** arguments) { return qm::linux_::runToolHelper(kProduct, count, arguments); }

// SPDX-License-Identifier: MIT

// The uninstaller's program with administrator rights.

#include "Platform/linux/privileges/helper/HelperMain.h"
#include "Uninstaller/Product.h"
#include "Uninstaller/helper/RemovalPolicy.h"

int main(int count, char** arguments) { return qm::linux_::runHelper(RemovalPolicy(kProduct), count, arguments); }

// SPDX-License-Identifier: MIT
#include <Platform/linux/archives/ZipTool.h>

#include "Product.h"

int main(int count, char** arguments) { return qm::linux_::runZipTool(std::string(kTidy.zipTool), count, arguments); }

// SPDX-License-Identifier: MIT

// The zip tool.

#include "Platform/linux/archives/ZipTool.h"
#include "Uninstaller/Product.h"

int main(int count, char** arguments) {
  return qm::linux_::runZipTool(std::string(kProduct.zipTool), count, arguments);
}

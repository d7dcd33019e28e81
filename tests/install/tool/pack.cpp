// SPDX-License-Identifier: MIT

// Packs its argument into an archive, or says why it cannot.

#include <Platform/SetUp.h>
#include <Shared/QMFileManager.h>

#include "Product.h"

int main(int count, char** arguments) {
  qm::platform::setUp(kTidy);
  return count == 3 && QMFileManager::compressFile(arguments[1], arguments[2]) ? 0 : 1;
}

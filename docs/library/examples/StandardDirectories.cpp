// SPDX-License-Identifier: MIT
#include "Platform/StandardDirectories.h"

#include <iostream>

#include "Platform/SetUp.h"
#include "Shared/QMLocalPaths.h"

using qm::platform::DomainMask;
using qm::platform::StandardDirectory;

namespace {

void show(StandardDirectory directory, DomainMask domains) {
  std::cout << QMLocalPaths::pathForDirectory(directory, domains).value_or("null") << '\n';
}

}  // namespace

int main() {
  qm::platform::setUp({.program = "example"});
  show(StandardDirectory::Documentation, DomainMask::User);
  show(StandardDirectory::Documentation, DomainMask::Local);
  show(StandardDirectory::Documentation, DomainMask::Local | DomainMask::System);
  show(StandardDirectory::Document, DomainMask::Local | DomainMask::User);
  show(StandardDirectory::Document, DomainMask::Local);
  return 0;
}

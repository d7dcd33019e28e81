// SPDX-License-Identifier: MIT

// Compares the project's operations with the minimum that the system needs for them. Times drift from machine to
// machine and hour to hour; the ratios of one run are what counts. Run it with scripts/bench.
#include <cstdio>
#include <map>
#include <string>

#include "bench/Cases.h"
#include "bench/Machine.h"

int main(int argc, char** argv) {
  using namespace qm::bench;
  const std::map<std::string, void (*)()> cases = {
      {"trash", [] { trashMany(1000), trashMany(10000); }},
      {"log", writeLog},
      {"tools", [] { runTools(), runToolsWithMuchMemory(); }},
      {"async", readAsyncTask},
      {"copy", copyMuch},
      {"size", sizeMany},
      {"wildcards", matchMany},
      {"paint", firstPaint},
      {"uninstall", uninstallSample},
      {"zip", zipMuch},
  };
  qm::platform::install(&machine());
  for (int i = 1; i < argc; ++i) {
    const auto found = cases.find(argv[i]);
    if (found == cases.end()) {
      std::fprintf(stderr, "bench: there is no case %s\n", argv[i]);
      return 2;
    }
    found->second();
  }
  return 0;
}

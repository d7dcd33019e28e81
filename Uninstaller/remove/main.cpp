// SPDX-License-Identifier: MIT
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "Uninstaller/SystemLanguage.h"
#include "Uninstaller/remove/Options.h"
#include "Uninstaller/remove/Program.h"

namespace {

int say(std::FILE* stream, std::string_view text, int status) {
  static_cast<void>(std::fwrite(text.data(), 1, text.size(), stream));
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace qm::removal;
  qm::uninstaller::useLanguage(qm::uninstaller::systemLanguage());
  const ParsedOptions parsed = parseOptions({argv + (argc > 0 ? 1 : 0), argv + argc});
  if (!parsed.problem.empty()) return say(stderr, usageText(parsed.problem), kUsage);
  if (parsed.options.help) return say(stdout, helpText(), kNothingLeft);
  if (parsed.options.version) return say(stdout, versionText(), kNothingLeft);
  return runProgram(parsed.options);
}

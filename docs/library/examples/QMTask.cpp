// SPDX-License-Identifier: MIT
#include "Shared/QMTask.h"

#include <iostream>
#include <string>

#include "Platform/SetUp.h"

using qm::foundation::StringEncoding;

namespace {

void show(const std::string& what, const std::optional<std::string>& text) {
  std::cout << what << ": " << (text ? *text : "null") << '\n';
}

}  // namespace

int main() {
  qm::platform::setUp({.program = "example"});
  using Arguments = std::vector<std::string>;

  std::cout << "status: " << QMTask::terminationCodeFromTask("/bin/sh", Arguments{"-c", "exit 3"}) << '\n';
  std::cout << "no such tool: " << QMTask::terminationCodeFromTask("/bin/no-such-tool", {}) << '\n';
  // Asked to end by signal 15 after one second.
  std::cout << "too slow: "
            << QMTask::terminationCodeFromTask("/bin/sleep", Arguments{"60"}, QMTask::TimeoutInterval(1)) << '\n';

  show("both streams", QMTask::stringFromTask("/bin/sh", Arguments{"-c", "echo output; printf error >&2"}));
  show("as ASCII", QMTask::stringFromTask("/bin/echo", Arguments{"-n", "caf\xC3\xA9"}));
  show("as UTF-8", QMTask::stringFromTask("/bin/echo", Arguments{"-n", "caf\xC3\xA9"}, StringEncoding::UTF8, nullptr));
  return 0;
}

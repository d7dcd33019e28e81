// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "Shared/QMLog.h"
#include "tests/support/PlatformTest.h"

namespace qm::testing {

/// A test on a machine with a log file, so that messages reach it.
class LoggedTest : public PlatformTest {
 protected:
  LoggedTest() { fakes.disk.addFile(kLog); }

  std::vector<std::string> console() const { return fakes.console.lines(); }

  /// The messages in the log, without their dates.
  std::vector<std::string> logged() {
    QMLog::finishWriting();
    std::vector<std::string> messages;
    const std::string text = fakes.disk.fileContents(kLog).value_or("");
    for (std::size_t start = 0; start < text.size();) {
      const std::size_t end = text.find('\n', start);
      messages.push_back(text.substr(start + kDateLength, end - start - kDateLength));
      start = end + 1;
    }
    return messages;
  }

  inline static const std::string kLog = "/home/u/Library/Logs/Quillmark/Demo.1.log";

 private:
  static constexpr std::size_t kDateLength = std::string_view("2024-02-29 23:05:07 +0000 - ").size();
};

}  // namespace qm::testing

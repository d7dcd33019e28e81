// SPDX-License-Identifier: MIT
#include "Shared/QMException.h"

#include <iostream>
#include <string>

#include "Platform/SetUp.h"

namespace {

void readAnswer(const std::string& kind) { throw QMException::Exception(kind, "the other program says nothing"); }

void askForAnAnswer(const std::string& kind) {
  try {
    readAnswer(kind);
  } catch (const QMException::Exception& exception) {
    const bool timedOut = QMException::didTimeout(&exception);
    std::cout << (timedOut ? "Again later: " : "Given up: ") << QMException::logException(&exception, __func__) << '\n';
  }
}

}  // namespace

int main() {
  qm::platform::setUp({.program = "example"});
  askForAnAnswer("NSPortTimeoutException");
  askForAnAnswer("NSInvalidReceivePortException");
  std::cout << QMException::logException(nullptr, "main") << '\n';
  return 0;
}

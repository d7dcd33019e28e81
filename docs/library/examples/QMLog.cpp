// SPDX-License-Identifier: MIT
#include "Shared/QMLog.h"

#include <fstream>
#include <iostream>
#include <string>

#include "Platform/SetUp.h"
#include "Shared/QMLocalPaths.h"

int main() {
  qm::platform::setUp({.program = "example"});
  QMLog::createNewLog();
  QMLog::appendLog("%i of %i files copied to %@", 3, 4, "/Volumes/Backup");

  const std::string name = "100%done.txt";
  QMLog::appendLog("Skipped %@", name);      // formatted twice: "%d" is read as a directive
  QMLog::fastAppendLog("Skipped %@", name);  // formatted once
  QMLog::finishWriting();

  const auto folder = QMLocalPaths::logDirectory(QMLocalPaths::UserDomain::Yes);
  std::ifstream file(*folder + "/Quillmark/" + *QMLog::sharedController()->appName() + ".1.log");
  for (std::string line; std::getline(file, line);) {
    const auto dash = line.find(" - ");  // a line is "DATE - MESSAGE"; the header has no dash
    if (dash != std::string::npos) std::cout << line.substr(dash + 3) << '\n';
  }
  return 0;
}

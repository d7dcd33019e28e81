// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "Shared/QMAuthorization.h"
#include "tests/unit/shared/LoggedTest.h"

namespace qm::testing {

class QMAuthorizationTest : public LoggedTest {
 protected:
  static QMAuthorization& rights() { return *QMAuthorization::sharedController(); }

  FakeAuthorizationServices& services() { return fakes.authorizationServices; }

  using Command = std::vector<std::string>;
  std::vector<Command> executions() { return services().executions(); }
  std::vector<Command> launches() { return fakes.tasks.launches(); }
};

class AsRoot : public QMAuthorizationTest {
 protected:
  AsRoot() {
    fakes.actAsRoot("u");
    // Where root's own messages go.
    fakes.disk.addFile("/Library/Logs/Quillmark/Demo.1.log");
  }
};

}  // namespace qm::testing

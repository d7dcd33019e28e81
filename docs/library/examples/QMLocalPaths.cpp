// SPDX-License-Identifier: MIT
#include "Shared/QMLocalPaths.h"

#include <cstdio>
#include <optional>
#include <string>

#include "Platform/SetUp.h"

namespace {

void show(const char* what, const std::optional<std::string>& path) {
  std::printf("%s: %s\n", what, path ? path->c_str() : "there is none");
}

void showGuard(const std::string& path, QMLocalPaths::ExactMatch exactMatch) {
  std::printf("%s is %sprotected\n", path.c_str(), QMLocalPaths::isPathSystemDirectory(path, exactMatch) ? "" : "not ");
}

}  // namespace

int main() {
  qm::platform::setUp({.program = "example"});
  show("The user's caches", QMLocalPaths::cacheDirectory(QMLocalPaths::UserDomain::Yes));
  show("The computer's preferences", QMLocalPaths::prefsDirectory(QMLocalPaths::UserDomain::No));
  show("Documentation", QMLocalPaths::localDocumentationDirectory());
  show("The Trash", QMLocalPaths::trashDirectory());
  show("The user", QMLocalPaths::username());

  showGuard("/Applications", QMLocalPaths::ExactMatch::Yes);
  showGuard("/Applications/", QMLocalPaths::ExactMatch::Yes);
  showGuard("/usr/bin", QMLocalPaths::ExactMatch::Yes);
  showGuard("/usr/bin", QMLocalPaths::ExactMatch::No);
  return 0;
}

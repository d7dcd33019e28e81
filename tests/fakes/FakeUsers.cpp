// SPDX-License-Identifier: MIT
#include "tests/fakes/FakeUsers.h"

namespace qm::testing {

void FakeUsers::setConsoleUser(const std::optional<std::string>& name, unsigned number) {
  set(consoleUser_, name);
  set(consoleUserId_, number);
}

void FakeUsers::addUser(const std::string& name, const std::string& home) {
  const std::scoped_lock lock(mutex_);
  homes_[name] = home;
}

void FakeUsers::actAsRoot(const std::optional<std::string>& name) {
  setRealUserId(0);
  setUserName("root");
  setHomeDirectory("/root");
  setConsoleUser(name);
}

unsigned FakeUsers::targetUserId() const {
  const std::scoped_lock lock(mutex_);
  return realUserId_ == 0 ? consoleUserId_ : realUserId_;
}

bool FakeUsers::hasTargetUser() const {
  const std::scoped_lock lock(mutex_);
  return realUserId_ != 0 || (consoleUser_ && consoleUser_ != "loginwindow");
}

std::string FakeUsers::userDomainRoot() const {
  const std::scoped_lock lock(mutex_);
  return realUserId_ == 0 ? "/var/root" : homeDirectory_;
}

unsigned FakeUsers::realUserId() const {
  calls_.note("users.realUserId");
  const std::scoped_lock lock(mutex_);
  return realUserId_;
}

std::string FakeUsers::userName() const {
  calls_.note("users.userName");
  const std::scoped_lock lock(mutex_);
  return userName_;
}

std::string FakeUsers::homeDirectory() const {
  calls_.note("users.homeDirectory");
  const std::scoped_lock lock(mutex_);
  return homeDirectory_;
}

std::optional<std::string> FakeUsers::homeDirectoryForUser(const std::optional<std::string>& name) const {
  if (calls_.question("users.homeDirectoryForUser", name)) return std::nullopt;
  const std::scoped_lock lock(mutex_);
  const auto home = homes_.find(name.value_or(""));
  if (home == homes_.end()) return std::nullopt;
  return home->second;
}

std::optional<std::string> FakeUsers::consoleUser() const {
  if (calls_.question("users.consoleUser")) return std::nullopt;
  const std::scoped_lock lock(mutex_);
  return consoleUser_;
}

}  // namespace qm::testing

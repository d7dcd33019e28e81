// SPDX-License-Identifier: MIT
#include "Platform/linux/system/ConsoleUser.h"

#include <systemd/sd-login.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <memory>

#include "Platform/linux/rights/UserDatabase.h"
#include "Platform/linux/system/Environment.h"

namespace qm::linux_ {
namespace {

struct Free {
  void operator()(char* text) const { std::free(text); }  // NOLINT(cppcoreguidelines-no-malloc)
};
using OwnedText = std::unique_ptr<char, Free>;

bool isLoginScreen(const char* session) {
  char* sessionClass = nullptr;
  if (::sd_session_get_class(session, &sessionClass) < 0) return false;
  const OwnedText owned(sessionClass);
  return std::string(sessionClass) == "greeter";
}

std::optional<UserRecord> personWithId(const std::optional<std::string>& digits) {
  if (!digits) return std::nullopt;
  uid_t id = 0;
  const char* end = digits->data() + digits->size();
  const auto [rest, error] = std::from_chars(digits->data(), end, id);
  if (error != std::errc() || rest != end) return std::nullopt;
  return userWithId(id);
}

std::optional<std::string> nameUnlessRoot(const std::optional<UserRecord>& user) {
  if (!user || user->id == 0) return std::nullopt;
  return user->name;
}

}  // namespace

bool loginManagerRuns() { return ::access("/run/systemd/seats", F_OK) == 0; }

std::optional<std::string> userOfActiveSession() {
  char* session = nullptr;
  uid_t id = 0;
  if (::sd_seat_get_active("seat0", &session, &id) < 0 || session == nullptr) return std::nullopt;
  const OwnedText owned(session);
  if (isLoginScreen(session)) return "loginwindow";
  const auto user = userWithId(id);
  return user ? std::optional(user->name) : std::nullopt;
}

std::optional<std::string> userBehindRootTool() {
  if (auto name = nameUnlessRoot(personWithId(environmentValue("PKEXEC_UID")))) return name;
  if (auto name = nameUnlessRoot(personWithId(environmentValue("SUDO_UID")))) return name;
  return nameUnlessRoot(userWithName(environmentValue("SUDO_USER").value_or("")));
}

}  // namespace qm::linux_

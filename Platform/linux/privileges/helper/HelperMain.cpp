// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/helper/HelperMain.h"

#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>
#include <csignal>
#include <cstdlib>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <string>

#include "Platform/foundation/ControlCharacters.h"
#include "Platform/linux/privileges/helper/CleanProcess.h"
#include "Platform/linux/privileges/helper/HelperSession.h"
#include "Platform/linux/privileges/helper/LaunchRun.h"
#include "Platform/linux/privileges/helper/PeerSocket.h"
#include "Platform/linux/privileges/helper/TrashMove.h"

namespace qm::linux_ {
namespace {

using posix::UniqueFd;

constexpr int kMisused = 2;
constexpr const char* kForUser = "--for";

// Accepts a user id and nothing else.
std::optional<uid_t> userNumber(const char* text) {
  if (text == nullptr || *text < '0' || *text > '9') return std::nullopt;
  char* end = nullptr;
  errno = 0;
  const unsigned long number = ::strtoul(text, &end, 10);
  if (errno != 0 || *end != '\0' || number >= static_cast<uid_t>(-1)) return std::nullopt;
  return static_cast<uid_t>(number);
}

std::optional<UserRecord> personWithNumber(const char* text) {
  const std::optional<uid_t> number = userNumber(text);
  return number ? userWithId(*number) : std::nullopt;
}

// All standard streams are connected to the null device, so that no program can mistake another descriptor for one.
bool closeStandardStreams() {
  const UniqueFd nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (!nothing || ::dup2(nothing.get(), stream) != stream) return false;
  }
  return true;
}

UniqueFd takeConnection() {
  UniqueFd connection(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
  return closeStandardStreams() ? std::move(connection) : UniqueFd();
}

int serve(const HelperPolicy& policy, const UserRecord& person) {
  PeerSocket peer(takeConnection(), person.id);
  if (!peer.isOpen()) return kMisused;
  HelperSession(peer, policy, person).run();
  mendTrashMoves(person, policy.product());
  return 0;
}

// A control character in a name must neither begin a line of its own in the log nor control the reader's terminal.
void writeToSystemLog(const std::string& text) {
  ::syslog(LOG_WARNING, "%s", foundation::replacingControlCharacters(text, ' ').c_str());
}

// The reason goes to the system log, because there is no connection over which the caller could be told.
int refuse(const std::string& why) {
  writeToSystemLog(why);
  return kMisused;
}

[[noreturn]] void seeThrough(const HelperPolicy& policy, const UserRecord& person, const Launch& launch) {
  if (!closeStandardStreams()) std::_Exit(kMisused);
  static_cast<void>(std::signal(SIGTERM, SIG_IGN));  // launches that have begun are finished
  int status = EXIT_FAILURE;
  runLaunch(policy, launch, person, UniqueFd(::open("/dev/null", O_WRONLY | O_CLOEXEC)), [&](const Message& message) {
    const auto* started = std::get_if<Started>(&message);
    const auto* exited = std::get_if<Exited>(&message);
    if (started != nullptr && started->error != 0)
      writeToSystemLog(launch.tool + " was not started: " + started->reason);
    if (exited != nullptr && !exited->note.empty()) writeToSystemLog(launch.tool + ": " + exited->note);
    if (exited != nullptr && exited->waitStatus == 0) status = EXIT_SUCCESS;
  });
  mendTrashMoves(person, policy.product());
  // Ends without a leak check by a sanitizer, which would have to inspect this process. Nobody may inspect it.
  std::_Exit(status);
}

}  // namespace

int runHelper(const HelperPolicy& policy, int count, char** arguments) {
  const char* caller = ::getenv("PKEXEC_UID");  // NOLINT(concurrency-mt-unsafe): nothing here changes the environment
  const bool once = count > 3 && std::string(arguments[1]) == kForUser;
  const std::optional<UserRecord> person = personWithNumber(once ? arguments[2] : caller);
  if (::getuid() != 0 || ::geteuid() != 0) return kMisused;
  if (!person) return refuse("the user who needs administrator rights is not known");
  // A caller through pkexec chose the arguments, and was given rights for nobody else.
  if (caller != nullptr && userNumber(caller) != person->id) {
    return refuse("administrator rights granted to another user do not apply to " + person->name);
  }
  // The dialog would have shown other characters differently, so the user would not have known what the rights are for.
  const auto isShown = [](const char* argument) { return foundation::isPlainText(argument); };
  if (caller != nullptr && !std::all_of(arguments + 1, arguments + count, isShown)) {
    return refuse("no dialog can show the command to authorize");
  }
  if (!becomeCleanProcess()) return kMisused;
  if (!once) return serve(policy, *person);
  seeThrough(policy, *person, {1, arguments[3], {arguments + 4, arguments + count}});
}

}  // namespace qm::linux_

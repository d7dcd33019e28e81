// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/HelperOpening.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <optional>

#include "Platform/linux/privileges/AuthenticationAgents.h"
#include "Platform/posix/ErrorWords.h"
#include "Platform/posix/process/Descriptors.h"
#include "Platform/posix/process/Uninterrupted.h"

namespace qm::linux_ {
namespace {

using platform::AuthorizationStatus;
using posix::UniqueFd;

constexpr int kDismissed = 126;
constexpr int kNotAuthorized = 127;
constexpr std::size_t kLongestErrors = 4096;

bool makeSocketPair(UniqueFd& own, UniqueFd& helpers) {
  int ends[2] = {};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return false;
  own = posix::aboveStandardStreams(UniqueFd(ends[0]));
  helpers = posix::aboveStandardStreams(UniqueFd(ends[1]));
  return own && helpers;
}

// The bytes that came; empty at the end.
std::string readSome(int fd) {
  std::array<char, 1024> block{};
  const std::size_t size = posix::readOnce(fd, block.data(), block.size());
  return {block.data(), size};
}

// The line of pkexec's output that gives the reason; the rest is for people at a terminal.
std::string firstLine(const std::string& errors) { return errors.substr(0, errors.find('\n')); }

bool contains(const std::string& text, const char* part) { return text.find(part) != std::string::npos; }

HelperOpening failed(AuthorizationStatus status, std::string cause) { return {status, std::move(cause), nullptr}; }

HelperOpening explain(int exitStatus, const std::string& errors) {
  if (exitStatus == kDismissed) return failed(platform::errAuthorizationCanceled, "the dialog was dismissed");
  if (exitStatus == kNotAuthorized && contains(errors, "Not authorized")) {
    return failed(platform::errAuthorizationDenied, "the request was not authorized");
  }
  if (exitStatus == kNotAuthorized && contains(errors, "authentication agent")) {
    return failed(platform::errAuthorizationInteractionNotAllowed, "no program here can ask for a password");
  }
  const std::string line = firstLine(errors);
  return failed(platform::errAuthorizationToolEnvironmentError,
                line.empty() ? "the helper ended with status " + std::to_string(exitStatus) : line);
}

// One run of pkexec, from its start to the helper's hello or its own end.
class PkexecRun {
 public:
  HelperOpening run(const PrivilegePrograms& programs, const OnlyCommand& only, platform::Console& console) {
    if (::access(programs.helper.c_str(), X_OK) != 0) return unavailable(programs.helper, errno);
    if (const int error = start(programs, only); error != 0) return unavailable(programs.pkexec, error);
    if (!waitForHello()) return explain(pkexec_.wait(), errors_);
    HelperOpening opening{platform::errAuthorizationSuccess, {}, nullptr};
    opening.connection = std::make_unique<HelperConnection>(std::move(socket_), std::move(pkexec_), console);
    return opening;
  }

 private:
  static HelperOpening unavailable(const std::string& program, int error) {
    return failed(platform::errAuthorizationToolEnvironmentError, posix::withSystemMessage(program, error));
  }

  // The helper's end of the connection is its standard input, because pkexec closes everything but the standard
  // streams.
  int start(const PrivilegePrograms& programs, const OnlyCommand& only) {
    UniqueFd helpers;
    if (!makeSocketPair(socket_, helpers)) return errno;
    posix::Pipe errors = posix::makePipe();
    if (!errors.reading) return errno;
    errorsReading_ = std::move(errors.reading);
    std::vector<std::string> arguments = {"--disable-internal-agent", programs.helper};
    arguments.insert(arguments.end(), only.begin(), only.end());
    return pkexec_.start(programs.pkexec, arguments,
                         {.input = helpers.get(), .output = -1, .errors = errors.writing.get()});
  }

  bool waitForHello() {
    while (!ended_ && !granted_) {
      pollfd watched[] = {{socket_.get(), POLLIN, {}}, {errorsReading_.get(), POLLIN, {}}};
      if (::poll(watched, 2, -1) == -1 && errno != EINTR) endConnection();
      if (watched[1].revents != 0) takeErrors();
      if (watched[0].revents != 0) takeMessage();
    }
    while (!granted_ && errorsReading_) takeErrors();
    return granted_;
  }

  void takeErrors() {
    const std::string text = readSome(errorsReading_.get());
    if (text.empty()) errorsReading_.reset();
    errors_ += text.substr(0, kLongestErrors - errors_.size());
  }

  void takeMessage() {
    const std::string bytes = readSome(socket_.get());
    reader_.append(bytes);
    const auto message = reader_.next();
    granted_ = message && *message == Message(Hello{});
    if (bytes.empty() || (message && !granted_) || reader_.isBroken()) endConnection();
  }

  // A helper that is still started ends at once then.
  void endConnection() {
    ended_ = true;
    socket_.reset();
  }

  UniqueFd socket_;
  UniqueFd errorsReading_;
  ChildProgram pkexec_;
  MessageReader reader_;
  std::string errors_;
  bool granted_ = false;
  bool ended_ = false;
};

bool hasTerminal() { return static_cast<bool>(UniqueFd(::open("/dev/tty", O_RDONLY | O_CLOEXEC))); }

}  // namespace

HelperOpening openHelperWithDialog(const PrivilegePrograms& programs, const OnlyCommand& only,
                                   platform::Console& console) {
  HelperOpening opening = PkexecRun().run(programs, only, console);
  if (opening.status != platform::errAuthorizationInteractionNotAllowed || !hasTerminal()) return opening;
  TerminalAgent agent;
  if (!agent.start(programs.terminalAgent)) return opening;
  return PkexecRun().run(programs, only, console);
}

HelperOpening openHelperWithCredentials(const PrivilegePrograms& programs, platform::Console& console,
                                        const std::string& user, const std::string& password) {
  CredentialsAgent agent;
  if (!agent.start(programs.credentialsAgent, user, password)) {
    return failed(platform::errAuthorizationToolEnvironmentError, programs.credentialsAgent + " could not be used");
  }
  return PkexecRun().run(programs, {}, console);
}

}  // namespace qm::linux_

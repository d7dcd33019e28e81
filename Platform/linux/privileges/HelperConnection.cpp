// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/HelperConnection.h"

#include <sys/socket.h>
#include <sys/wait.h>

#include <array>
#include <string_view>
#include <system_error>
#include <thread>

#include "Platform/linux/privileges/ConsoleText.h"
#include "Platform/posix/process/SocketMessage.h"
#include "Platform/posix/process/Uninterrupted.h"

namespace qm::linux_ {

using platform::AuthorizationStatus;
using posix::UniqueFd;

namespace {

/// Blocks for the next bytes, and a descriptor if one comes with them. False at the end.
bool receive(int socket, std::string& bytes, UniqueFd& descriptor) {
  std::array<char, 4096> block{};
  posix::SocketMessage<int> message(block.data(), block.size());
  message.makeRoom();
  const ssize_t got = posix::uninterrupted([&] { return ::recvmsg(socket, message.get(), MSG_CMSG_CLOEXEC); });
  if (got <= 0) return false;
  descriptor = UniqueFd(message.attached(SCM_RIGHTS).value_or(-1));
  bytes.assign(block.data(), static_cast<std::size_t>(got));
  return true;
}

bool sendAll(int socket, std::string_view rest) {
  while (!rest.empty()) {
    const ssize_t sent = posix::uninterrupted([&] { return ::send(socket, rest.data(), rest.size(), MSG_NOSIGNAL); });
    if (sent == -1) return false;
    rest.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

std::string endText(int waitStatus) {
  if (WIFSIGNALED(waitStatus)) return "was ended by signal " + std::to_string(WTERMSIG(waitStatus));
  return "failed with status " + std::to_string(WEXITSTATUS(waitStatus));
}

}  // namespace

struct HelperConnection::State {
  State(UniqueFd connection, ChildProgram program, platform::Console& systemConsole)
      : socket(std::move(connection)), helper(std::move(program)), console(systemConsole) {}

  struct Answer {
    Started started;
    UniqueFd output;
  };

  void take(const Message& message, std::deque<UniqueFd>& outputs);
  void takeStarted(const Started& started, std::deque<UniqueFd>& outputs);
  void takeExited(const Exited& exited);
  void close();

  UniqueFd socket;
  ChildProgram helper;
  platform::Console& console;

  std::mutex mutex;  // guards the following members
  std::condition_variable changed;
  bool open = true;
  bool ended = false;
  std::uint64_t lastNumber = 0;
  std::map<std::uint64_t, Answer> answers;
  std::map<std::uint64_t, std::string> running;
  std::mutex sending;
};

// Descriptors arrive in the order of the messages that they belong to.
void HelperConnection::State::take(const Message& message, std::deque<UniqueFd>& outputs) {
  if (const auto* started = std::get_if<Started>(&message)) return takeStarted(*started, outputs);
  if (const auto* exited = std::get_if<Exited>(&message)) return takeExited(*exited);
}

void HelperConnection::State::takeStarted(const Started& started, std::deque<UniqueFd>& outputs) {
  UniqueFd output;
  if (started.error == 0 && !outputs.empty()) {
    output = std::move(outputs.front());
    outputs.pop_front();
  }
  const std::scoped_lock lock(mutex);
  answers[started.number] = {started, std::move(output)};
  changed.notify_all();
}

void HelperConnection::State::takeExited(const Exited& exited) {
  std::string tool;
  {
    const std::scoped_lock lock(mutex);
    const auto found = running.extract(exited.number);
    if (found.empty()) return;
    tool = found.mapped();
  }
  if (exited.waitStatus != 0) {
    console.print(inOneLine(tool + " " + endText(exited.waitStatus) + (exited.note.empty() ? "" : ": " + exited.note)));
  } else if (!exited.note.empty()) {
    console.print(inOneLine(tool + ": " + exited.note));
  }
}

// The helper itself may go on until its last tool has ended.
void HelperConnection::State::close() {
  {
    const std::scoped_lock lock(mutex);
    open = false;
    changed.notify_all();
  }
  helper.wait();
  const std::scoped_lock lock(mutex);
  ended = true;
  changed.notify_all();
}

HelperConnection::HelperConnection(UniqueFd socket, ChildProgram helper, platform::Console& console)
    : state_(std::make_shared<State>(std::move(socket), std::move(helper), console)) {
  try {
    std::thread(&HelperConnection::readMessages, state_).detach();
  } catch (const std::system_error&) {
    state_->open = false;
    state_->ended = true;
  }
}

HelperConnection::~HelperConnection() { ::shutdown(state_->socket.get(), SHUT_WR); }

void HelperConnection::end() {
  ::shutdown(state_->socket.get(), SHUT_WR);
  std::unique_lock lock(state_->mutex);
  state_->changed.wait(lock, [this] { return state_->ended; });
}

bool HelperConnection::isOpen() const {
  const std::scoped_lock lock(state_->mutex);
  return state_->open;
}

void HelperConnection::readMessages(const std::shared_ptr<State>& state) {
  MessageReader reader;
  std::deque<UniqueFd> outputs;
  std::string bytes;
  UniqueFd descriptor;
  while (!reader.isBroken() && receive(state->socket.get(), bytes, descriptor)) {
    if (descriptor) outputs.push_back(std::move(descriptor));
    reader.append(bytes);
    while (const auto message = reader.next()) state->take(*message, outputs);
  }
  ::shutdown(state->socket.get(), SHUT_RDWR);
  state->close();
}

AuthorizationStatus HelperConnection::launch(const std::string& tool, const std::vector<std::string>& arguments,
                                             UniqueFd* output) {
  State& state = *state_;
  std::unique_lock lock(state.mutex);
  if (!state.open) return platform::errAuthorizationInvalidRef;
  const std::uint64_t number = ++state.lastNumber;
  const auto bytes = encoded(Launch{number, tool, arguments});
  if (!bytes) return platform::errAuthorizationToolExecuteFailure;
  state.running[number] = tool;
  lock.unlock();
  {
    const std::scoped_lock sending(state.sending);
    if (!sendAll(state.socket.get(), *bytes)) ::shutdown(state.socket.get(), SHUT_RDWR);
  }
  lock.lock();
  state.changed.wait(lock, [&] { return !state.open || state.answers.contains(number); });
  auto found = state.answers.extract(number);
  if (found.empty()) return platform::errAuthorizationInvalidRef;
  const Started& started = found.mapped().started;
  if (started.error == 0) {
    *output = std::move(found.mapped().output);
    return platform::errAuthorizationSuccess;
  }
  state.running.erase(number);
  lock.unlock();
  state.console.print(inOneLine(tool + " was not started: " + started.reason + leftAsItWas(arguments)));
  return platform::errAuthorizationToolExecuteFailure;
}

}  // namespace qm::linux_

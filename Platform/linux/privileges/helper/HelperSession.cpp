// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/helper/HelperSession.h"

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>
#include <cstdlib>

#include <array>
#include <cerrno>
#include <vector>

#include "Platform/linux/privileges/helper/LaunchRun.h"
#include "Platform/posix/ErrorWords.h"
#include "Platform/posix/process/ChildWait.h"
#include "Platform/posix/process/Descriptors.h"

namespace qm::linux_ {
namespace {

using posix::UniqueFd;

volatile std::sig_atomic_t askedToEnd = 0;

extern "C" void noteEnd(int /*signal*/) { askedToEnd = 1; }

// SIGTERM is delivered only while the session waits: between checking the flag and waiting it would be missed.
void deliverEndWhileWaiting() {
  sigset_t end{};
  sigaddset(&end, SIGTERM);
  ::sigprocmask(SIG_BLOCK, &end, nullptr);
  static_cast<void>(std::signal(SIGTERM, noteEnd));
}

// Where it fails, nothing is ready.
void waitFor(std::vector<pollfd>& watched) {
  const sigset_t none{};
  ::ppoll(watched.data(), watched.size(), nullptr, &none);
}

// All of it or nothing is written, because a report is shorter than PIPE_BUF.
void writeReport(const UniqueFd& messages, const Message& message) {
  if (const auto bytes = encoded(message)) static_cast<void>(!::write(messages.get(), bytes->data(), bytes->size()));
}

// The process of one launch. It sends messages to the helper, which forwards them.
[[noreturn]] void runMain(const HelperPolicy& policy, const Launch& launch, const UserRecord& person, UniqueFd output,
                          const UniqueFd& messages) {
  // After SIGTERM the helper reads no more messages, but still finishes its launches.
  for (const int number : {SIGPIPE, SIGTERM}) static_cast<void>(::signal(number, SIG_IGN));
  runLaunch(policy, launch, person, std::move(output), [&](const Message& message) { writeReport(messages, message); });
  ::_exit(EXIT_SUCCESS);
}

}  // namespace

void HelperSession::run() {
  deliverEndWhileWaiting();
  send(Hello{});
  while (peer_.isOpen() || !runs_.empty()) waitForEvents();
}

void HelperSession::waitForEvents() {
  std::vector<pollfd> watched = {{peer_.descriptor(), POLLIN, {}}, {peer_.peerDescriptor(), POLLIN, {}}};
  for (const Run& run : runs_) watched.push_back({run.messages.get(), POLLIN, {}});
  waitFor(watched);
  if (askedToEnd != 0) peer_.close();
  for (std::size_t i = 0; i + 2 < watched.size(); ++i) {
    if (watched[i + 2].revents != 0) forward(runs_[i]);
  }
  std::erase_if(runs_, [](const Run& run) { return !run.messages; });
  if (watched[0].revents != 0) {
    receive();
  } else if (watched[1].revents != 0) {
    peer_.close();
  }
}

void HelperSession::receive() {
  std::string bytes;
  if (peer_.receive(bytes) != PeerSocket::Received::Bytes) return;
  reader_.append(bytes);
  while (const auto message = reader_.next()) {
    const auto* launch = std::get_if<Launch>(&*message);
    if (launch == nullptr) return peer_.close();
    start(*launch);
    if (policy_.servesOnce()) return peer_.close();
  }
  if (reader_.isBroken()) peer_.close();
}

void HelperSession::start(const Launch& launch) {
  std::optional<Run> run;
  errno = EAGAIN;
  if (runs_.size() < mostRuns_) run = fork(launch);
  if (!run) return send(Started{launch.number, errno, 0, posix::withSystemMessage(launch.tool, errno)});
  runs_.push_back(std::move(*run));
}

// The child closes its copy of the connection together with everything else that is not its own.
std::optional<HelperSession::Run> HelperSession::fork(const Launch& launch) {
  Run run;
  run.number = launch.number;
  posix::Pipe messages = posix::makePipe();
  posix::Pipe output = posix::makePipe();
  if (!messages.reading || !output.reading) return std::nullopt;
  run.messages = std::move(messages.reading);
  run.output = std::move(output.reading);
  run.process = ::fork();
  if (run.process < 0) return std::nullopt;
  if (run.process == 0) {
    runs_.clear();
    run.messages.reset();
    run.output.reset();
    peer_.leave();
    runMain(policy_, launch, person_, std::move(output.writing), messages.writing);
  }
  return run;
}

void HelperSession::forward(Run& run) {
  std::array<char, 4096> block{};
  const ssize_t got = ::read(run.messages.get(), block.data(), block.size());
  if (got <= 0) return finish(run);
  run.reader.append({block.data(), static_cast<std::size_t>(got)});
  while (const auto message = run.reader.next()) forwardMessage(run, *message);
}

// The first message is a `Started`. Nothing follows one that contains an error, or an `Exited`.
void HelperSession::forwardMessage(Run& run, const Message& message) {
  const auto* started = std::get_if<Started>(&message);
  const bool runs = started != nullptr && started->error == 0;
  send(message, runs ? run.output.get() : -1);
  run.started = true;
  run.exited = !runs;
  if (runs) run.output.reset();
}

// A process that ended without a message is reported as well.
void HelperSession::finish(Run& run) {
  run.messages.reset();
  const int status = posix::waitForChild(run.process);
  if (!run.started) {
    send(Started{run.number, EIO, 0, "the launch was interrupted"});
  } else if (!run.exited) {
    send(Exited{run.number, status, "the launch was interrupted"});
  }
}

void HelperSession::send(const Message& message, int descriptor) {
  if (const auto bytes = encoded(message)) peer_.send(*bytes, descriptor);
}

}  // namespace qm::linux_

// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <deque>
#include <optional>

#include "Platform/linux/privileges/helper/HelperPolicy.h"
#include "Platform/linux/privileges/helper/PeerSocket.h"
#include "Platform/linux/privileges/protocol/Messages.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// Serves launches until the application ends the connection, ends itself or breaks the protocol, or this process is
/// asked to end (SIGTERM). Each launch is a process of its own, so that none can delay or harm another. Running
/// launches are finished at the end.
class HelperSession {
 public:
  /// Each launch takes a few descriptors, so only `mostRuns` may run at a time.
  HelperSession(PeerSocket& peer, const HelperPolicy& policy, const UserRecord& person, std::size_t mostRuns = 512)
      : peer_(peer), policy_(policy), person_(person), mostRuns_(mostRuns) {}

  /// Sends the hello and serves. Returns when no launch is running any more.
  void run();

 private:
  /// A launch in progress, its messages and the reading end of its tool's output.
  struct Run {
    pid_t process = -1;
    std::uint64_t number = 0;
    posix::UniqueFd messages;
    posix::UniqueFd output;
    MessageReader reader;
    bool started = false;
    bool exited = false;
  };

  void waitForEvents();
  void receive();
  void start(const Launch& launch);
  std::optional<Run> fork(const Launch& launch);
  void forward(Run& run);
  void forwardMessage(Run& run, const Message& message);
  void finish(Run& run);
  void send(const Message& message, int descriptor = -1);

  PeerSocket& peer_;
  const HelperPolicy& policy_;
  const UserRecord& person_;
  const std::size_t mostRuns_;
  MessageReader reader_;
  std::deque<Run> runs_;
};

}  // namespace qm::linux_

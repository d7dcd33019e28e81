// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Platform/AuthorizationServices.h"
#include "Platform/Console.h"
#include "Platform/linux/privileges/ChildProgram.h"
#include "Platform/linux/privileges/protocol/Messages.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// The application's end of the connection to a helper that has sent its hello. A thread reads the helper's messages,
/// prints failures of tools to the console, and reaps the helper at its end. Any thread.
class HelperConnection {
 public:
  /// The console must outlive the connection and the thread.
  HelperConnection(posix::UniqueFd socket, ChildProgram helper, platform::Console& console);
  HelperConnection(const HelperConnection&) = delete;
  HelperConnection& operator=(const HelperConnection&) = delete;
  /// Ends the connection. Running tools go on to their end and their failures are still printed.
  ~HelperConnection();

  bool isOpen() const;
  /// Ends the connection, and waits until the helper has finished its tools and has ended; at most half a minute.
  void end();

  /// Starts a tool; blocks until it is running. `output` receives the reading end of its output.
  platform::AuthorizationStatus launch(const std::string& tool, const std::vector<std::string>& arguments,
                                       posix::UniqueFd* output);

 private:
  struct State;
  static void readMessages(const std::shared_ptr<State>& state);

  std::shared_ptr<State> state_;
};

}  // namespace qm::linux_

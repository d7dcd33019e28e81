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

/// The application's end of the connection to a helper that has said hello. A thread reads what the helper
/// says, tells the console about tools that failed, and reaps the helper at its end. Any thread.
class HelperConnection {
 public:
  /// The console outlives the connection and the thread.
  HelperConnection(posix::UniqueFd socket, ChildProgram helper, platform::Console& console);
  HelperConnection(const HelperConnection&) = delete;
  HelperConnection& operator=(const HelperConnection&) = delete;
  /// Ends the connection; tools run on to their end and are still told about.
  ~HelperConnection();

  bool isOpen() const;
  /// Ends the connection, and waits until the helper has seen its tools through and has ended; not longer than half a
  /// minute.
  void end();

  /// Starts a tool; blocks until it runs. `output` receives the reading end of what it writes.
  platform::AuthorizationStatus launch(const std::string& tool, const std::vector<std::string>& arguments,
                                       posix::UniqueFd* output);

 private:
  struct State;
  static void readMessages(const std::shared_ptr<State>& state);

  std::shared_ptr<State> state_;
};

}  // namespace qm::linux_

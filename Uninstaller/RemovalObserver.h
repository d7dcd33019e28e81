// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "Platform/Platform.h"

/// What the services reported while one item was moved.
struct Observations {
  std::string trashedTo;         ///< its path in the Trash after a move with the user's rights; "" if that move failed
  std::string plainReason;       ///< why the move as the user failed, the system's sentence; "" if it did not
  int plainError = 0;            ///< the error number for that reason, 0 if there is none
  std::string privilegedReason;  ///< the last line that was printed to the console since `begin`, "" without one
  bool rightsRefused = false;    ///< administrator rights were requested and not granted
};

/// Observes the services through which items are moved, so that a run can say why an item stays.
///
/// The maker's classes return true or false and write their reasons to log and console. The services made here forward
/// every call unchanged to those they are made from, and record the reasons. `main` installs them instead. Lives until
/// the process ends.
class RemovalObserver {
 public:
  explicit RemovalObserver(const qm::platform::Platform& services);
  RemovalObserver(const RemovalObserver&) = delete;
  RemovalObserver& operator=(const RemovalObserver&) = delete;
  ~RemovalObserver();

  /// The services to install.
  const qm::platform::Platform& services() const { return services_; }

  /// Discards what was recorded. Any thread.
  void begin();
  /// What was recorded since `begin`. Any thread.
  Observations observations() const;

 private:
  class Notes;
  class Trash;
  class Authorization;
  class Console;

  std::unique_ptr<Notes> notes_;
  std::unique_ptr<Trash> trash_;
  std::unique_ptr<Authorization> authorization_;
  std::unique_ptr<Console> console_;
  qm::platform::Platform services_;
};

#pragma once

#include <memory>
#include <string>

#include "Platform/Platform.h"

/// What the services said while one item was moved.
struct Testimony {
  std::string trashedTo;         ///< where the plain move has put it in the Trash; "" when it did not
  std::string plainReason;       ///< why the plain move failed, the system's sentence; "" when it did not
  int plainError = 0;            ///< the system's number of that reason, 0 where there is none
  std::string privilegedReason;  ///< the last line that the console was given afterwards, "" without one
  bool rightsRefused = false;    ///< administrator rights were asked for and not granted
};

/// Listens to the services through which items are moved, so that a run can say why an item stays.
///
/// The maker's classes answer with a yes or no and write their reasons to log and console. The set of services made
/// here behaves in every respect like the one it is made from, and keeps what those reasons are. It is installed by
/// `main` in place of that one. Lives until the process ends.
class RemovalWitness {
 public:
  explicit RemovalWitness(const qm::platform::Platform& services);
  RemovalWitness(const RemovalWitness&) = delete;
  RemovalWitness& operator=(const RemovalWitness&) = delete;
  ~RemovalWitness();

  /// The services to install.
  const qm::platform::Platform& services() const { return services_; }

  /// Forgets what was said. Any thread.
  void begin();
  /// What was said since. Any thread.
  Testimony testimony() const;

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

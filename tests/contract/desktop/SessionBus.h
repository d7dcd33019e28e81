// SPDX-License-Identifier: MIT
#pragma once

#include <systemd/sd-bus.h>

#include <memory>
#include <string>
#include <vector>

#include "Platform/Tasks.h"
#include "tests/contract/system/RealTasks.h"

namespace qm::testing {

/// A message bus of its own, like a session's, until the end of its scope.
class SessionBus {
 public:
  enum class Owner { Process, Person };
  /// At a new socket; the process's own or, as root, that of `kPerson`.
  explicit SessionBus(const std::string& socket, Owner owner = Owner::Process);
  SessionBus(const SessionBus&) = delete;
  SessionBus& operator=(const SessionBus&) = delete;
  ~SessionBus();

  std::string address() const { return "unix:path=" + socket_; }

 private:
  std::string socket_;
  RealTasks tasks_;
  std::shared_ptr<platform::Task> daemon_;
};

/// One signal of "org.kde.KDirNotify".
struct Notice {
  std::string signal;  ///< as in "FilesAdded(s) of /": a file manager accepts no other form
  std::vector<std::string> urls;

  bool operator==(const Notice&) const = default;
};
void PrintTo(const Notice& notice, std::ostream* stream);

/// Listens on a bus like a file manager: to these signals of any program and any object.
class FileManagerStandIn {
 public:
  explicit FileManagerStandIn(const std::string& address);

  /// What has come so far, as soon as there is this much of it; or what there is after half a minute.
  std::vector<Notice> waitFor(std::size_t count);
  /// What has come until now: everything that the bus had accepted before this call.
  std::vector<Notice> received();

 private:
  struct Close {
    void operator()(sd_bus* bus) const { ::sd_bus_flush_close_unref(bus); }
  };
  static int take(sd_bus_message* message, void* self, sd_bus_error*);

  std::unique_ptr<sd_bus, Close> bus_;
  std::vector<Notice> notices_;
};

}  // namespace qm::testing

// SPDX-License-Identifier: MIT
#pragma once

#include <systemd/sd-bus.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>

namespace qm::testing {

/// A message bus that accepts one connection, answers its "Hello", and then misbehaves until the connection or the
/// scope ends.
class BusStandIn {
 public:
  enum class Manner { FallsSilent, FloodsWithSignals, FloodsWithCalls, Refuses };
  /// Accepts the connection of a listening socket.
  BusStandIn(int listener, Manner manner);
  BusStandIn(const BusStandIn&) = delete;
  BusStandIn& operator=(const BusStandIn&) = delete;
  ~BusStandIn();

  /// Whether the connection has sent more than "Hello".
  bool wasAsked() const { return asked_; }

 private:
  struct Close {
    void operator()(sd_bus* bus) const { ::sd_bus_close_unref(bus); }
  };
  static int answer(sd_bus_message* message, void* self, sd_bus_error* error);
  void serve(int listener);
  void floodUntilGone();
  int sendCall(const std::string& path);

  const Manner manner_;
  std::unique_ptr<sd_bus, Close> bus_;
  std::atomic<bool> asked_ = false;
  std::atomic<bool> ended_ = false;
  std::thread thread_;
};

}  // namespace qm::testing

// SPDX-License-Identifier: MIT
#include "tests/contract/desktop/BusStandIn.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <string>
#include <string_view>

namespace qm::testing {

BusStandIn::BusStandIn(int listener, Manner manner) : manner_(manner), thread_([this, listener] { serve(listener); }) {}

BusStandIn::~BusStandIn() {
  ended_ = true;
  thread_.join();
}

void BusStandIn::serve(int listener) {
  const int connection = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
  sd_bus* bus = nullptr;
  ASSERT_GE(::sd_bus_new(&bus), 0);
  bus_.reset(bus);
  ASSERT_GE(::sd_bus_set_fd(bus, connection, connection), 0);
  ASSERT_GE(::sd_bus_set_server(bus, 1, {}), 0);
  ASSERT_GE(::sd_bus_add_filter(bus, nullptr, answer, this), 0);
  ASSERT_GE(::sd_bus_start(bus), 0);
  constexpr std::uint64_t kLook = 20'000;  // microseconds between two checks whether the scope has ended
  for (int worked = 0; worked >= 0 && !ended_;) {
    worked = ::sd_bus_process(bus, nullptr);
    if (worked == 0) ::sd_bus_wait(bus, kLook);
    const bool floods = manner_ == Manner::FloodsWithSignals || manner_ == Manner::FloodsWithCalls;
    if (asked_ && floods) floodUntilGone();
  }
}

int BusStandIn::answer(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
  auto& bus = *static_cast<BusStandIn*>(self);
  if (::sd_bus_message_is_method_call(message, nullptr, "Hello") > 0) {
    return ::sd_bus_reply_method_return(message, "s", ":1.1") < 0 ? -1 : 1;
  }
  if (::sd_bus_message_is_method_call(message, nullptr, nullptr) <= 0) return 1;
  bus.asked_ = true;
  if (bus.manner_ != Manner::Refuses) return 1;
  return ::sd_bus_reply_method_errorf(message, SD_BUS_ERROR_ACCESS_DENIED, "no") < 0 ? -1 : 1;
}

void BusStandIn::floodUntilGone() {
  const std::string text(16 * 1024, 'x');
  while (!ended_) {
    const int sent = manner_ == Manner::FloodsWithCalls
                         ? sendCall("/" + text)
                         : ::sd_bus_emit_signal(bus_.get(), "/", "a.b", "C", "s", text.c_str());
    if (sent < 0 || ::sd_bus_flush(bus_.get()) < 0) return;
  }
}

/// A message that requires an answer, which nobody reads.
int BusStandIn::sendCall(const std::string& path) {
  sd_bus_message* call = nullptr;
  std::uint64_t cookie = 0;
  int sent = ::sd_bus_message_new_method_call(bus_.get(), &call, nullptr, path.c_str(), "a.b", "C");
  if (sent >= 0) sent = ::sd_bus_send(bus_.get(), call, &cookie);
  ::sd_bus_message_unref(call);
  return sent;
}

}  // namespace qm::testing

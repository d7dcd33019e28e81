// SPDX-License-Identifier: MIT
#include "Platform/linux/desktop/DesktopNotices.h"

#include <systemd/sd-bus.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <utility>

#include "Platform/linux/trash/TrashInfo.h"

namespace qm::linux_ {
namespace {

using std::chrono::microseconds;
using std::chrono::steady_clock;

constexpr const char* kObject = "/";
constexpr const char* kInterface = "org.kde.KDirNotify";

// Data still to be written is dropped with the connection, without waiting.
struct CloseBus {
  void operator()(sd_bus* bus) const { ::sd_bus_close_unref(bus); }
};
using Bus = std::unique_ptr<sd_bus, CloseBus>;

std::uint64_t microsecondsUntil(steady_clock::time_point end) {
  const auto left = std::chrono::duration_cast<microseconds>(end - steady_clock::now()).count();
  return static_cast<std::uint64_t>(std::max<microseconds::rep>(left, 0));
}

// The library's own waits take too long, and keep all messages that a bus sends meanwhile. Here each message is dropped
// when it arrives, and the time limit holds however many there are.
template <class Condition>
bool processUntil(sd_bus* bus, steady_clock::time_point end, Condition holds) {
  for (;;) {
    const int worked = ::sd_bus_process(bus, nullptr);
    if (worked < 0) return false;
    if (holds()) return true;
    const std::uint64_t left = microsecondsUntil(end);
    if (left == 0) return false;
    if (worked > 0) continue;
    const int waited = ::sd_bus_wait(bus, left);
    if (waited < 0 && waited != -EINTR) return false;
  }
}

// The library would answer requests of the bus, and buffer answers that the bus does not accept.
int ignoreCalls(sd_bus_message* message, void* /*data*/, sd_bus_error* /*error*/) {
  return ::sd_bus_message_is_method_call(message, nullptr, nullptr) > 0 ? 1 : 0;
}

Bus connect(const std::string& address, steady_clock::time_point end) {
  sd_bus* made = nullptr;
  if (::sd_bus_new(&made) < 0) return nullptr;
  Bus bus(made);
  if (::sd_bus_set_address(made, address.c_str()) < 0 || ::sd_bus_set_bus_client(made, 1) < 0) return nullptr;
  if (::sd_bus_add_filter(made, nullptr, ignoreCalls, nullptr) < 0 || ::sd_bus_start(made) < 0) return nullptr;
  return processUntil(made, end, [made] { return ::sd_bus_is_ready(made) > 0; }) ? std::move(bus) : nullptr;
}

enum class Answer { None, Given, Refused };

int takeAnswer(sd_bus_message* message, void* answer, sd_bus_error* /*error*/) {
  const bool refused = ::sd_bus_message_is_method_error(message, nullptr) != 0;
  *static_cast<Answer*>(answer) = refused ? Answer::Refused : Answer::Given;
  return 0;
}

// The bus handles a connection's messages in order, so its answer to this one comes after the notices were sent on.
bool waitUntilTaken(sd_bus* bus, steady_clock::time_point end) {
  constexpr const char* kBus = "org.freedesktop.DBus";
  Answer answer = Answer::None;
  sd_bus_slot* slot = nullptr;
  if (::sd_bus_call_method_async(bus, &slot, kBus, "/org/freedesktop/DBus", kBus, "GetId", takeAnswer, &answer, "") <
      0) {
    return false;
  }
  const bool ended = processUntil(bus, end, [&] { return answer != Answer::None; });
  ::sd_bus_slot_unref(slot);
  return ended && answer == Answer::Given;
}

}  // namespace

bool sendNotice(const std::string& busAddress, const ChangedItem& item, std::chrono::milliseconds limit) {
  const auto end = steady_clock::now() + limit;
  const Bus bus = connect(busAddress, end);
  if (!bus) return false;
  const std::string url = "file://" + percentEncoded(item.path);
  if (::sd_bus_emit_signal(bus.get(), kObject, kInterface, "FilesChanged", "as", 1, url.c_str()) < 0) return false;
  if (item.isFolder && ::sd_bus_emit_signal(bus.get(), kObject, kInterface, "FilesAdded", "s", url.c_str()) < 0) {
    return false;
  }
  return waitUntilTaken(bus.get(), end);
}

std::string busIn(const std::string& runtimeFolder) { return "unix:path=" + percentEncoded(runtimeFolder) + "/bus"; }

}  // namespace qm::linux_

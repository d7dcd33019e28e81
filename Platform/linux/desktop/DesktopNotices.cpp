#include "Platform/linux/desktop/DesktopNotices.h"

#include <systemd/sd-bus.h>

#include <algorithm>
#include <cstdint>
#include <memory>

#include "Platform/linux/trash/TrashInfo.h"

namespace qm::linux_ {
namespace {

using std::chrono::microseconds;
using std::chrono::steady_clock;

constexpr const char* kObject = "/";
constexpr const char* kInterface = "org.kde.KDirNotify";

// What is still to be written is dropped with the connection, instead of waited for.
struct CloseBus {
  void operator()(sd_bus* bus) const { ::sd_bus_close_unref(bus); }
};
using Bus = std::unique_ptr<sd_bus, CloseBus>;

std::uint64_t microsecondsUntil(steady_clock::time_point end) {
  const auto left = std::chrono::duration_cast<microseconds>(end - steady_clock::now()).count();
  return static_cast<std::uint64_t>(std::max<microseconds::rep>(left, 0));
}

// The library's own waits for a bus that does not answer are longer than anybody would like to wait.
bool waitUntilReady(sd_bus* bus, steady_clock::time_point end) {
  for (;;) {
    const int worked = ::sd_bus_process(bus, nullptr);
    if (worked < 0) return false;
    if (::sd_bus_is_ready(bus) > 0) return true;
    const std::uint64_t left = microsecondsUntil(end);
    if (left == 0) return false;
    if (worked > 0) continue;
    const int waited = ::sd_bus_wait(bus, left);
    if (waited < 0 && waited != -EINTR) return false;
  }
}

Bus connect(const std::string& address, steady_clock::time_point end) {
  sd_bus* made = nullptr;
  if (::sd_bus_new(&made) < 0) return nullptr;
  Bus bus(made);
  if (::sd_bus_set_address(made, address.c_str()) < 0 || ::sd_bus_set_bus_client(made, 1) < 0) return nullptr;
  if (::sd_bus_start(made) < 0 || !waitUntilReady(made, end)) return nullptr;
  return bus;
}

// The bus handles what a connection sends in order: its answer to this comes after the notices have gone out.
bool waitUntilTaken(sd_bus* bus, steady_clock::time_point end) {
  sd_bus_message* question = nullptr;
  constexpr const char* kBus = "org.freedesktop.DBus";
  if (::sd_bus_message_new_method_call(bus, &question, kBus, "/org/freedesktop/DBus", kBus, "GetId") < 0) return false;
  const std::uint64_t limit = std::max<std::uint64_t>(microsecondsUntil(end), 1);
  const bool answered = ::sd_bus_call(bus, question, limit, nullptr, nullptr) >= 0;
  ::sd_bus_message_unref(question);
  return answered;
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

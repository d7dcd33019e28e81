// SPDX-License-Identifier: MIT
#include "tests/contract/desktop/SessionBus.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ostream>

#include "tests/contract/desktop/DesktopMachine.h"

namespace qm::testing {

SessionBus::SessionBus(const std::string& socket, Owner owner) : socket_(socket), daemon_(tasks_.tasks.makeTask()) {
  std::vector<std::string> arguments = {"/usr/bin/dbus-daemon", "--session",         "--nofork",
                                        "--nopidfile",          "--print-address=1", "--address=" + address()};
  if (owner == Owner::Person) {
    const std::string id = std::to_string(kPerson);
    arguments.insert(arguments.begin(), {"--reuid", id, "--regid", id, "--clear-groups"});
  }
  daemon_->setLaunchPath(owner == Owner::Person ? "/usr/bin/setpriv" : "/usr/bin/env");
  daemon_->setArguments(arguments);
  daemon_->setStandardOutput(platform::TaskStream::Pipe);
  const auto status = daemon_->launch();
  EXPECT_TRUE(status.ok()) << status.localizedDescription();
  EXPECT_NE(daemon_->standardOutputReader()->availableData(), "") << "the message bus did not start";
}

SessionBus::~SessionBus() {
  daemon_->terminate();
  daemon_->waitUntilExit();
}

void PrintTo(const Notice& notice, std::ostream* stream) {
  *stream << notice.signal;
  for (const auto& url : notice.urls) *stream << " " << url;
}

FileManagerStandIn::FileManagerStandIn(const std::string& address) {
  sd_bus* bus = nullptr;
  EXPECT_GE(::sd_bus_new(&bus), 0);
  bus_.reset(bus);
  EXPECT_GE(::sd_bus_set_address(bus, address.c_str()), 0);
  EXPECT_GE(::sd_bus_set_bus_client(bus, 1), 0);
  EXPECT_GE(::sd_bus_start(bus), 0);
  // Returns when the bus has processed the request.
  EXPECT_GE(::sd_bus_match_signal(bus, nullptr, nullptr, nullptr, "org.kde.KDirNotify", nullptr, take, this), 0);
}

int FileManagerStandIn::take(sd_bus_message* message, void* self, sd_bus_error*) {
  Notice notice{std::string(::sd_bus_message_get_member(message)) + "(" + ::sd_bus_message_get_signature(message, 1) +
                    ") of " + ::sd_bus_message_get_path(message),
                {}};
  const bool isList = ::sd_bus_message_has_signature(message, "as") > 0;
  if (isList) ::sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "s");
  for (const char* url = nullptr; ::sd_bus_message_read_basic(message, SD_BUS_TYPE_STRING, &url) > 0;) {
    notice.urls.emplace_back(url);
    if (!isList) break;
  }
  static_cast<FileManagerStandIn*>(self)->notices_.push_back(std::move(notice));
  return 0;
}

std::vector<Notice> FileManagerStandIn::waitFor(std::size_t count) {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (notices_.size() < count && std::chrono::steady_clock::now() < limit) {
    if (::sd_bus_process(bus_.get(), nullptr) == 0) ::sd_bus_wait(bus_.get(), 1000000);
  }
  return notices_;
}

std::vector<Notice> FileManagerStandIn::received() {
  // The bus answers after it has delivered everything that came before.
  constexpr const char* kBus = "org.freedesktop.DBus";
  EXPECT_GE(::sd_bus_call_method(bus_.get(), kBus, "/org/freedesktop/DBus", kBus, "GetId", nullptr, nullptr, nullptr),
            0);
  while (::sd_bus_process(bus_.get(), nullptr) > 0) {
  }
  return notices_;
}

}  // namespace qm::testing

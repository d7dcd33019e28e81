// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/RunningProduct.h"

#include <poll.h>
#include <csignal>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/posix/process/ProcessHandle.h"
#include "Uninstaller/remove/ThisSystem.h"

namespace qm::removal {
namespace {

using posix::ProcessHandle;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr std::string_view kProductName = "Tessaly";
constexpr auto kTimeToQuit = 10s;
constexpr auto kTimeToEnd = 5s;

struct Held {
  ProcessHandle handle;
  ProductProcess process;
};

/// Waits until one of the processes has ended, or none of them is running.
bool oneEnds(const std::vector<Held>& processes, std::chrono::milliseconds limit) {
  std::vector<pollfd> watched;
  watched.reserve(processes.size());
  for (const Held& each : processes) watched.push_back({each.handle.descriptor(), POLLIN, 0});
  return ::poll(watched.data(), static_cast<nfds_t>(watched.size()),
                static_cast<int>(std::max<std::int64_t>(limit.count(), 0))) > 0;
}

bool hasEnded(const ProcessHandle& handle) {
  pollfd watched{handle.descriptor(), POLLIN, 0};
  return handle && ::poll(&watched, 1, 0) > 0;
}

/// The user for whom the product runs under this number; null if the process is not the product.
std::optional<uid_t> userOfProduct(pid_t number, const ProcessList& processes) {
  const auto user = processes.userOf(number);
  return processes.nameOf(number) == kProductName ? user : std::nullopt;
}

/// What was read by process id belongs to the held process only if that is still running afterwards. A running process
/// that cannot be held counts as well, although it can be neither asked nor killed.
std::optional<Held> heldProduct(pid_t number, const std::set<uid_t>& users, const ProcessList& processes) {
  if (processes.nameOf(number) != kProductName) return std::nullopt;
  Held held{ProcessHandle::open(number), {number, 0}};
  const auto user = userOfProduct(number, processes);
  if (!user || !users.contains(*user) || hasEnded(held.handle)) return std::nullopt;
  held.process.user = *user;
  return held;
}

std::vector<Held> heldProducts(const std::set<uid_t>& users, const ProcessList& processes) {
  std::vector<Held> found;
  for (const pid_t number : processes.all()) {
    if (auto held = heldProduct(number, users, processes)) found.push_back(std::move(*held));
  }
  return found;
}

void removeEnded(std::vector<Held>& processes) {
  std::erase_if(processes, [](const Held& each) { return hasEnded(each.handle); });
}

/// Sends a signal, unless the number belongs to another process by now. Then the held process has ended.
bool signalled(const Held& held, int number, const ProcessList& processes) {
  if (userOfProduct(held.process.id, processes) != held.process.user) return false;
  held.handle.signal(number);
  return true;
}

/// Keeps those that got the signal.
void signalAll(std::vector<Held>& held, int number, const ProcessList& processes) {
  std::erase_if(held, [&](const Held& each) { return !signalled(each, number, processes); });
}

void waitForEnd(std::vector<Held>& processes, std::chrono::milliseconds limit) {
  const auto end = Clock::now() + limit;
  while (!processes.empty() && Clock::now() < end) {
    oneEnds(processes, std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()));
    removeEnded(processes);
  }
}

void end(std::vector<Held> held, IfRunning how, const ProcessList& processes) {
  signalAll(held, SIGTERM, processes);
  waitForEnd(held, how == IfRunning::End ? kTimeToEnd : kTimeToQuit);
  if (how != IfRunning::End) return;
  signalAll(held, SIGKILL, processes);
  waitForEnd(held, kTimeToEnd);
}

}  // namespace

ProcessList systemProcesses() { return {allProcesses, nameOfProcess, userOfProcess}; }

std::vector<ProductProcess> runningProduct(const std::set<uid_t>& users, const ProcessList& processes) {
  std::vector<ProductProcess> running;
  for (const Held& each : heldProducts(users, processes)) running.push_back(each.process);
  return running;
}

/// Another process may have been started meanwhile, so the search is repeated.
std::vector<ProductProcess> endProduct(const std::set<uid_t>& users, IfRunning how, const ProcessList& processes) {
  if (how != IfRunning::Refuse) end(heldProducts(users, processes), how, processes);
  return runningProduct(users, processes);
}

}  // namespace qm::removal

// SPDX-License-Identifier: MIT
#include "Uninstaller/appkit/Instances.h"

#include <cstdio>
#include <utility>

namespace qm::appkit {
namespace {

bool isRunning(const Instance& instance) { return !instance.hasEnded && instance.start; }

bool wasStartedBefore(const Instance& one, const Instance& other) {
  return std::pair(one.start, one.process) < std::pair(other.start, other.process);
}

}  // namespace

std::optional<pid_t> instanceToLeaveTo(const Instance& own, const std::vector<Instance>& running) {
  const Instance* first = &own;
  for (const Instance& other : running) {
    if (other.process != own.process && isRunning(other) && wasStartedBefore(other, *first)) first = &other;
  }
  return first == &own ? std::nullopt : std::optional(first->process);
}

int sayThatNobodyAnswers(const std::string& program) {
  static_cast<void>(std::fprintf(stderr, "%s: it is running already, and does not answer.\n", program.c_str()));
  return EXIT_FAILURE;
}

}  // namespace qm::appkit

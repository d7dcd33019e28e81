// SPDX-License-Identifier: MIT
#include "tests/faults/Tracing.h"

#include <elf.h>
#include <linux/audit.h>
#include <sys/uio.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace qm::testing {
namespace {

constexpr std::uint64_t kNoCall = ~0ULL;

/// Where a processor's registers hold a call's result, and its number unless that has a set of its own.
struct Registers {
  unsigned processor;
  std::size_t result;
  std::size_t number;
  bool numberApart;
};
constexpr Registers kRegisters[] = {{AUDIT_ARCH_X86_64, 10, 15, false}, {AUDIT_ARCH_AARCH64, 0, 0, true}};

const Registers* registersOf(unsigned processor) {
  const auto* const known = std::ranges::find(kRegisters, processor, &Registers::processor);
  return known == std::end(kRegisters) ? nullptr : known;
}

bool setRegister(pid_t task, std::size_t which, std::uint64_t value) {
  std::array<std::uint64_t, 64> words{};
  iovec area{words.data(), sizeof words};  // its length becomes that of the registers
  if (trace(PTRACE_GETREGSET, task, NT_PRSTATUS, &area) != 0) return false;
  words.at(which) = value;
  return trace(PTRACE_SETREGSET, task, NT_PRSTATUS, &area) == 0;
}

bool forgetNumberApart(pid_t task) {
  int number = -1;
  const iovec area{&number, sizeof number};
  return trace(PTRACE_SETREGSET, task, NT_ARM_SYSTEM_CALL, &area) == 0;
}

}  // namespace

bool forgetCall(pid_t task, unsigned processor) {
  const Registers* known = registersOf(processor);
  if (known == nullptr) return false;
  return known->numberApart ? forgetNumberApart(task) : setRegister(task, known->number, kNoCall);
}

bool setError(pid_t task, unsigned processor, int error) {
  const Registers* known = registersOf(processor);
  return known != nullptr &&
         setRegister(task, known->result, static_cast<std::uint64_t>(-static_cast<std::int64_t>(error)));
}

}  // namespace qm::testing

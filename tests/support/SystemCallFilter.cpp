#include <gtest/gtest.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

sock_filter load(std::size_t offset) { return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset)); }
sock_filter answer(std::uint32_t what) { return BPF_STMT(BPF_RET | BPF_K, what); }
/// Goes on with the next instruction when the loaded word is `value`, else skips `otherwise` ones.
sock_filter continueIf(std::uint32_t value, std::uint8_t otherwise) {
  return BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, 0, otherwise);
}
sock_filter continueUnless(std::uint32_t value, std::uint8_t otherwise) {
  return BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, otherwise, 0);
}

}  // namespace

void failSystemCall(long number, int error, int onlyWithFlags) {
  const std::uint32_t failure = SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error);
  std::vector<sock_filter> program{load(offsetof(seccomp_data, nr))};
  const bool conditional = onlyWithFlags >= 0;
  program.push_back(continueIf(static_cast<std::uint32_t>(number), conditional ? 3 : 1));
  if (conditional) {
    program.push_back(
        load(offsetof(seccomp_data, args) + sizeof(std::uint64_t) * static_cast<std::size_t>(onlyWithFlags)));
    program.push_back(continueUnless(0, 1));
  }
  program.push_back(answer(failure));
  program.push_back(answer(SECCOMP_RET_ALLOW));
  sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
  ASSERT_EQ(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0) << std::strerror(errno);
  ASSERT_EQ(::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter, 0, 0), 0) << std::strerror(errno);
}

}  // namespace qm::testing

// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <future>
#include <iterator>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/LeakCheck.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

sock_filter load(std::size_t offset) { return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset)); }
sock_filter answer(std::uint32_t what) { return BPF_STMT(BPF_RET | BPF_K, what); }
/// Goes on with the next instruction if the loaded word is `value`, else skips `otherwise` ones.
sock_filter continueIf(std::uint32_t value, std::uint8_t otherwise) {
  return BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, 0, otherwise);
}
sock_filter continueUnless(std::uint32_t value, std::uint8_t otherwise) {
  return BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, otherwise, 0);
}

std::size_t argument(int index) {
  return offsetof(seccomp_data, args) + sizeof(std::uint64_t) * static_cast<std::size_t>(index);
}

/// The descriptor for the filter's notifications if `flags` request it, else 0.
int install(std::vector<sock_filter> program, unsigned flags = 0) {
  sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
  EXPECT_EQ(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0) << std::strerror(errno);
  const long installed = ::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, flags, &filter);
  EXPECT_GE(installed, 0) << std::strerror(errno);
  // That makes system calls while all threads stand still. They would fail, or wait for ever for the thread that
  // answers.
  skipLeakCheck();
  return static_cast<int>(installed);
}

/// Actions use static objects, which the process destroys at its end. The kernel ensures that an action is done before
/// that. ThreadSanitizer cannot see this order, so this number shows it.
std::atomic<int> actionsDone{0};

/// Makes the calls on behalf of another thread of this process.
void serve(int listener, std::function<void()> action) {
  seccomp_notif request{};
  while (::ioctl(listener, SECCOMP_IOCTL_NOTIF_RECV, &request) == 0) {
    const auto& a = request.data.args;
    const long value = ::syscall(request.data.nr, a[0], a[1], a[2], a[3], a[4], a[5]);
    seccomp_notif_resp response{request.id, value < 0 ? 0 : value, value < 0 ? -errno : 0, 0};
    if (action) {
      std::exchange(action, nullptr)();
      actionsDone.fetch_add(1, std::memory_order_release);
    }
    ASSERT_EQ(::ioctl(listener, SECCOMP_IOCTL_NOTIF_SEND, &response), 0) << std::strerror(errno);
    request = {};
  }
}

/// Returns with the process, or if the calls cannot be answered any more.
void answerCalls(int listener, const std::function<int(const SystemCall&)>& watch) {
  seccomp_notif request{};
  while (::ioctl(listener, SECCOMP_IOCTL_NOTIF_RECV, &request) == 0) {
    SystemCall call{request.data.nr, {}};
    std::copy(std::begin(request.data.args), std::end(request.data.args), call.arguments.begin());
    const int error = watch(call);
    actionsDone.fetch_add(1, std::memory_order_release);
    seccomp_notif_resp response{request.id, 0, -error, 0};
    if (error == 0) response.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
    ASSERT_EQ(::ioctl(listener, SECCOMP_IOCTL_NOTIF_SEND, &response), 0) << std::strerror(errno);
    request = {};
  }
}

/// Has a thread that this filter does not concern answer its notifications.
void installServed(std::vector<sock_filter> program, std::function<void(int listener)> answering) {
  std::atexit([] { static_cast<void>(actionsDone.load(std::memory_order_acquire)); });
  std::promise<int> listener;
  std::thread([future = listener.get_future(), answering = std::move(answering)]() mutable {
    answering(future.get());
  }).detach();
  listener.set_value(install(std::move(program), SECCOMP_FILTER_FLAG_NEW_LISTENER));
}

}  // namespace

std::string SystemCall::path() const {
  const std::string link = "/proc/self/fd/" + std::to_string(static_cast<int>(arguments[0]));
  std::array<char, PATH_MAX> target{};
  const ssize_t length = ::readlink(link.c_str(), target.data(), target.size());
  return {target.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))};
}

std::string SystemCall::text(std::size_t argument) const {
  return reinterpret_cast<const char*>(arguments.at(argument));  // NOLINT(performance-no-int-to-ptr): it is a pointer
}

void failSystemCall(long number, int error, int onlyWithFlags) {
  const std::uint32_t failure = SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error);
  std::vector<sock_filter> program{load(offsetof(seccomp_data, nr))};
  const bool conditional = onlyWithFlags >= 0;
  program.push_back(continueIf(static_cast<std::uint32_t>(number), conditional ? 3 : 1));
  if (conditional) {
    program.push_back(load(argument(onlyWithFlags)));
    program.push_back(continueUnless(0, 1));
  }
  program.push_back(answer(failure));
  program.push_back(answer(SECCOMP_RET_ALLOW));
  install(std::move(program));
}

void failSystemCallOn(int descriptor, long number, int error) {
  install({load(offsetof(seccomp_data, nr)), continueIf(static_cast<std::uint32_t>(number), 3), load(argument(0)),
           continueIf(static_cast<std::uint32_t>(descriptor), 1),
           answer(SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error)), answer(SECCOMP_RET_ALLOW)});
}

void afterSystemCall(long number, std::function<void()> action) {
  installServed({load(offsetof(seccomp_data, nr)), continueIf(static_cast<std::uint32_t>(number), 1),
                 answer(SECCOMP_RET_USER_NOTIF), answer(SECCOMP_RET_ALLOW)},
                [action = std::move(action)](int listener) { serve(listener, action); });
}

void watchSystemCalls(const std::vector<long>& numbers, std::function<int(const SystemCall&)> watch) {
  std::vector<sock_filter> program{load(offsetof(seccomp_data, nr))};
  for (const long number : numbers) {
    program.push_back(continueIf(static_cast<std::uint32_t>(number), 1));
    program.push_back(answer(SECCOMP_RET_USER_NOTIF));
  }
  program.push_back(answer(SECCOMP_RET_ALLOW));
  installServed(std::move(program), [watch = std::move(watch)](int listener) { answerCalls(listener, watch); });
}

void failSystemCallOnce(long number, int nth, int error) {
  watchSystemCalls({number}, [=, made = 0](const SystemCall&) mutable { return ++made == nth ? error : 0; });
}

}  // namespace qm::testing

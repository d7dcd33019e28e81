// SPDX-License-Identifier: MIT
#include "tests/faults/CallFilter.h"

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace qm::testing {
namespace {

// They do not return, or not where they were called.
constexpr long kWithoutReturn[] = {SYS_exit, SYS_exit_group, SYS_rt_sigreturn, SYS_restart_syscall};

constexpr long kNotOfFiles[] = {
    SYS_mmap,        SYS_munmap,          SYS_mprotect,         SYS_mremap,       SYS_brk,       SYS_madvise,
    SYS_futex,       SYS_rt_sigaction,    SYS_rt_sigprocmask,   SYS_sigaltstack,  SYS_kill,      SYS_tgkill,
    SYS_gettid,      SYS_getpid,          SYS_getppid,          SYS_getuid,       SYS_geteuid,   SYS_getgid,
    SYS_getegid,     SYS_set_tid_address, SYS_set_robust_list,  SYS_rseq,         SYS_prlimit64, SYS_uname,
    SYS_sysinfo,     SYS_clock_gettime,   SYS_clock_getres,     SYS_gettimeofday, SYS_nanosleep, SYS_clock_nanosleep,
    SYS_sched_yield, SYS_membarrier,      SYS_sched_getaffinity};

struct Name {
  long number;
  const char* name;
};
constexpr Name kNames[] = {{SYS_openat, "openat"},
                           {SYS_openat2, "openat2"},
                           {SYS_read, "read"},
                           {SYS_pread64, "pread64"},
                           {SYS_write, "write"},
                           {SYS_close, "close"},
                           {SYS_close_range, "close_range"},
                           {SYS_fstat, "fstat"},
                           {SYS_newfstatat, "fstatat"},
                           {SYS_statx, "statx"},
                           {SYS_fstatfs, "fstatfs"},
                           {SYS_lseek, "lseek"},
                           {SYS_getdents64, "getdents64"},
                           {SYS_readlinkat, "readlinkat"},
                           {SYS_symlinkat, "symlinkat"},
                           {SYS_linkat, "linkat"},
                           {SYS_unlinkat, "unlinkat"},
                           {SYS_mkdirat, "mkdirat"},
                           {SYS_renameat, "renameat"},
                           {SYS_renameat2, "renameat2"},
                           {SYS_faccessat, "faccessat"},
                           {SYS_faccessat2, "faccessat2"},
                           {SYS_fchmod, "fchmod"},
                           {SYS_fchmodat, "fchmodat"},
                           {SYS_fchown, "fchown"},
                           {SYS_fchownat, "fchownat"},
                           {SYS_ftruncate, "ftruncate"},
                           {SYS_fallocate, "fallocate"},
                           {SYS_fadvise64, "fadvise64"},
                           {SYS_copy_file_range, "copy_file_range"},
                           {SYS_sendfile, "sendfile"},
                           {SYS_utimensat, "utimensat"},
                           {SYS_fsync, "fsync"},
                           {SYS_fdatasync, "fdatasync"},
                           {SYS_syncfs, "syncfs"},
                           {SYS_fgetxattr, "fgetxattr"},
                           {SYS_fsetxattr, "fsetxattr"},
                           {SYS_flistxattr, "flistxattr"},
                           {SYS_getxattr, "getxattr"},
                           {SYS_lgetxattr, "lgetxattr"},
                           {SYS_setxattr, "setxattr"},
                           {SYS_lsetxattr, "lsetxattr"},
                           {SYS_listxattr, "listxattr"},
                           {SYS_llistxattr, "llistxattr"},
                           {SYS_fremovexattr, "fremovexattr"},
                           {SYS_ioctl, "ioctl"},
                           {SYS_fcntl, "fcntl"},
                           {SYS_dup, "dup"},
                           {SYS_dup3, "dup3"},
                           {SYS_pipe2, "pipe2"},
                           {SYS_ppoll, "ppoll"},
                           {SYS_socket, "socket"},
                           {SYS_connect, "connect"},
                           {SYS_clone, "clone"},
                           {SYS_clone3, "clone3"},
                           {SYS_execve, "execve"},
                           {SYS_wait4, "wait4"},
                           {SYS_waitid, "waitid"},
                           {SYS_pidfd_open, "pidfd_open"},
                           {SYS_getrandom, "getrandom"},
                           {SYS_fchdir, "fchdir"},
                           {SYS_chdir, "chdir"},
                           {SYS_umask, "umask"},
                           {SYS_prctl, "prctl"},
                           {SYS_setgroups, "setgroups"},
                           {SYS_setresuid, "setresuid"},
                           {SYS_setresgid, "setresgid"},
                           {SYS_setfsuid, "setfsuid"},
                           {SYS_setfsgid, "setfsgid"},
                           {SYS_capget, "capget"},
                           {SYS_capset, "capset"},
                           {SYS_unshare, "unshare"},
                           {SYS_mount, "mount"},
                           {SYS_umount2, "umount2"},
                           {SYS_landlock_create_ruleset, "landlock_create_ruleset"},
                           {SYS_landlock_add_rule, "landlock_add_rule"},
                           {SYS_landlock_restrict_self, "landlock_restrict_self"}};

// Calls that newer processors do not have: their numbers are those of the older ones.
constexpr bool kHasOldCalls = SYS_read == 0;
constexpr Name kOldNames[] = {{2, "open"},      {4, "stat"},   {6, "lstat"},  {7, "poll"},    {21, "access"},
                              {22, "pipe"},     {33, "dup2"},  {57, "fork"},  {58, "vfork"},  {82, "rename"},
                              {83, "mkdir"},    {84, "rmdir"}, {86, "link"},  {87, "unlink"}, {88, "symlink"},
                              {89, "readlink"}, {90, "chmod"}, {92, "chown"}, {94, "lchown"}, {133, "mknod"}};
constexpr long kOldNotOfFiles[] = {158 /* arch_prctl */, 201 /* time */};

sock_filter ifCallIs(long number, std::uint8_t otherwise) {
  return BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(number), 0, otherwise);
}

sock_filter answer(std::uint32_t what) { return BPF_STMT(BPF_RET | BPF_K, what); }

}  // namespace

CallFilter allCalls() { return {{std::begin(kWithoutReturn), std::end(kWithoutReturn)}, true}; }

CallFilter fileCalls() {
  CallFilter filter = allCalls();
  filter.passedOver.insert(filter.passedOver.end(), std::begin(kNotOfFiles), std::end(kNotOfFiles));
  if (kHasOldCalls) {
    filter.passedOver.insert(filter.passedOver.end(), std::begin(kOldNotOfFiles), std::end(kOldNotOfFiles));
  }
  filter.ofThreads = false;
  return filter;
}

bool showCalls(const CallFilter& filter) {
  std::vector<sock_filter> program{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
  for (const long number : filter.passedOver) {
    program.push_back(ifCallIs(number, 1));
    program.push_back(answer(SECCOMP_RET_ALLOW));
  }
  program.push_back(answer(SECCOMP_RET_TRACE));
  const sock_fprog whole{static_cast<unsigned short>(program.size()), program.data()};
  return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         ::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, 0, &whole) == 0;
}

std::string callName(long number) {
  const auto* const found = std::ranges::find(kNames, number, &Name::number);
  if (found != std::end(kNames)) return found->name;
  const auto* const old = std::ranges::find(kOldNames, number, &Name::number);
  return kHasOldCalls && old != std::end(kOldNames) ? old->name : "call " + std::to_string(number);
}

}  // namespace qm::testing

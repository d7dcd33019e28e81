// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// Tests that mount, change rights or act as other users run in a process of their own, on a machine that only it sees.
/// Expectations that fail there are reported as failures of the running test, at their line; a failed assertion ends
/// the body. If mounting is allowed the machine is a mount namespace; otherwise it gets a user namespace as well. If
/// that is not allowed either, the running test ends as skipped.
namespace qm::testing {

/// Runs `body` in a forked child: root in its own mount namespace, with a fresh tmpfs on `machineFolder()`. Mounts made
/// there end with it. Returns whether nothing failed.
bool runInPrivateMachine(const std::function<void()>& body);

/// Inside a private machine: ends the running test as skipped if its root does not own the system's files. That takes
/// root's rights, not a user namespace with subordinate ids.
void needRootsOwnSystem();

/// The scratch folder of the private machine, absolute, without links on its way. Anybody may search it, only root may
/// write to it.
const std::string& machineFolder();

/// Runs `body` in a forked child as an ordinary user, without capabilities and further groups. Called inside a private
/// machine, or as root outside. Returns whether nothing failed.
bool asUser(uid_t user, gid_t group, const std::function<void()>& body);

/// Runs `body` in a forked child with the rights of this process: for limits and filters that cannot be removed again.
/// Returns whether nothing failed.
bool inChild(const std::function<void()>& body);

/// Inside a private machine: mounts a tmpfs on `path`, which is created if it is missing. `options` are the file
/// system's own ("size=64k,mode=0755").
void mountTmpfs(const std::string& path, const std::string& options = "");

/// Inside a private machine: bind-mounts `folder` at `path`, which is created if it is missing.
enum class Writable : bool { No, Yes };
void bindMount(const std::string& folder, const std::string& path, Writable writable = Writable::Yes);

/// Inside a private machine: makes the mount at `path` read-only.
void makeReadOnly(const std::string& path);

/// From here on the system call `number` fails with `error` in this process; `onlyWithFlags` names the argument (0 to
/// 5) that must be non-zero for that, -1 for always. This cannot be undone: call it in a child.
void failSystemCall(long number, int error, int onlyWithFlags = -1);

/// The same for calls whose first argument is this descriptor.
void failSystemCallOn(int descriptor, long number, int error);

/// Runs `action` on another thread right after the first system call `number` that this thread makes from here on,
/// before the call returns. This cannot be undone either.
void afterSystemCall(long number, std::function<void()> action);

/// A system call that a thread of this process is about to make.
struct SystemCall {
  long number = 0;
  std::array<std::uint64_t, 6> arguments{};

  /// The path of the descriptor in its first argument.
  std::string path() const;
  /// The text that an argument points to.
  std::string text(std::size_t argument) const;
};

/// From here on, `watch` is called on another thread before each of these system calls of this thread. It returns 0 if
/// the call is to be made, or the error number that it fails with. A process can do this, or wait for a system call as
/// above, only once.
void watchSystemCalls(const std::vector<long>& numbers, std::function<int(const SystemCall&)> watch);

/// The system call `number` fails with `error` when this thread makes it for the `nth` time from here on, and only
/// then. It watches system calls.
void failSystemCallOnce(long number, int nth, int error);

}  // namespace qm::testing

#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

/// Tests that mount, change rights or act as other users run in a process of their own, on a machine
/// that only it sees. Expectations that fail in there are reported as failures of the running test,
/// at the line that made them; an assertion ends the body that it stands in. Where mounting is allowed the machine is
/// a mount namespace; elsewhere it gets a user namespace as well. Where that is not allowed either, the running test
/// ends as skipped.
namespace qm::testing {

/// Runs `body` in a forked child: root in its own mount namespace, with a fresh tmpfs on
/// `machineFolder()`. Mounts made in there end with it. Answers whether nothing failed.
bool runInPrivateMachine(const std::function<void()>& body);

/// Inside a private machine: ends the running test as skipped if its root is not the one to whom the system's files
/// belong. That takes root's rights, not a user namespace with ids on loan.
void needRootsOwnSystem();

/// The scratch folder of the private machine, absolute, without links on its way. Anybody may pass
/// through it, only root may write in it.
const std::string& machineFolder();

/// Runs `body` in a forked child as an ordinary user, without capabilities and further groups. Called
/// inside a private machine, or as root outside. Answers whether nothing failed.
bool asUser(uid_t user, gid_t group, const std::function<void()>& body);

/// Runs `body` in a forked child with the rights that this process has: for limits and filters that
/// cannot be taken back. Answers whether nothing failed.
bool inChild(const std::function<void()>& body);

/// Inside a private machine: mounts a tmpfs on `path`, which is made when it is missing. `options`
/// are the file system's own ("size=64k,mode=0755").
void mountTmpfs(const std::string& path, const std::string& options = "");

/// Inside a private machine: shows `folder` at `path` too, which is made when it is missing.
enum class Writable : bool { No, Yes };
void bindMount(const std::string& folder, const std::string& path, Writable writable = Writable::Yes);

/// Inside a private machine: makes the mount at `path` read-only.
void makeReadOnly(const std::string& path);

/// From here on the system call `number` fails with `error` in this process; `onlyWithFlags` names
/// the argument (0 to 5) that must be non-zero for that, -1 for always. Cannot be taken back: call it
/// in a child.
void failSystemCall(long number, int error, int onlyWithFlags = -1);

/// The same for calls whose first argument is this descriptor.
void failSystemCallOn(int descriptor, long number, int error);

/// Has `action` done on another thread right after the first system call `number` that this thread makes from here
/// on, before the call returns. Cannot be taken back either.
void afterSystemCall(long number, std::function<void()> action);

}  // namespace qm::testing

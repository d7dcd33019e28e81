#pragma once

namespace qm::linux_ {

/// Settles what a program may inherit in an odd state from whoever started it, before other threads exist: missing
/// standard descriptors become the null device, so that no file opened later is taken for one; exits of children are
/// reported again (an ignored SIGCHLD would lose every exit status); a broken pipe and a limit of file sizes
/// are errors of the write, not the end of the program; and where there is no session bus none is started, which would
/// outlive the program.
void settleInheritedState();

}  // namespace qm::linux_

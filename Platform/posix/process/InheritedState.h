// SPDX-License-Identifier: MIT
#pragma once

namespace qm::posix {

/// Normalises what a program may inherit in an unusual state, before other threads exist. Missing standard descriptors
/// are opened on the null device, so that no file opened later gets their numbers. Exits of children are reported again
/// (an ignored SIGCHLD would lose every exit status). A broken pipe and a limit of file sizes are errors of the write,
/// not the end of the program.
void settleInheritedState();

}  // namespace qm::posix

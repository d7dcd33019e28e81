// SPDX-License-Identifier: MIT
#pragma once

namespace qm::posix {

/// Normalises what a program may have inherited in an unusual state. Call it before other threads exist. Missing
/// standard descriptors are opened on the null device, so that no file opened later gets their numbers. Exits of
/// children are reported again (an ignored SIGCHLD would lose every exit status). Writing to a broken pipe or beyond
/// the limit of file sizes returns an error and does not end the program.
void settleInheritedState();

}  // namespace qm::posix

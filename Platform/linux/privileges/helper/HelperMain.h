// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/linux/privileges/helper/HelperPolicy.h"

namespace qm::linux_ {

/// The main function of a helper. It runs in one of two ways:
///
///   by pkexec     It serves the process that called pkexec over its standard input, until that ends the connection or
///                 itself, or this program is asked to end (SIGTERM). Launches that have begun are finished.
///   "--for UID TOOL ARGUMENT..."  By root itself: one launch for that user. Problems are written to the system log.
///                 The status is 0 if the launch succeeded. Through pkexec it is refused for anybody but the caller.
///
/// At the start of a move and at the program's end, interrupted earlier moves to the user's Trash are finished or
/// undone.
int runHelper(const HelperPolicy& policy, int count, char** arguments);

}  // namespace qm::linux_

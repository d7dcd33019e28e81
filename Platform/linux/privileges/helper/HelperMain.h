// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/linux/privileges/helper/HelperPolicy.h"

namespace qm::linux_ {

/// The main function of a helper. It runs in one of two ways:
///
///   by pkexec     It serves the process that called pkexec, over its standard input. It ends when that process closes
///                 the connection or ends, or when the helper gets SIGTERM. Launches that have begun are finished.
///   "--for UID TOOL ARGUMENT..."  By root itself: one launch for that user. Problems are written to the system log.
///                 The status is 0 if the launch succeeded. If pkexec started it, a UID other than the caller's is
///                 refused.
///
/// At the start of a move and at the program's end, interrupted earlier moves to the user's Trash are finished or
/// undone.
int runHelper(const HelperPolicy& policy, int count, char** arguments);

}  // namespace qm::linux_

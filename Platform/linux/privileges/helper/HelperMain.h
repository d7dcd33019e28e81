#pragma once

#include "Platform/linux/privileges/helper/HelperPolicy.h"

namespace qm::linux_ {

/// A helper program from its start to its status. It runs in one of two ways:
///
///   by pkexec     It serves the process that called pkexec over its standard input, until that ends the connection or
///                 itself, or this program is asked to end (SIGTERM); launches that have begun are seen through.
///   "--for UID TOOL ARGUMENT..."  By root itself: one launch for that user. What goes wrong is written to the system
///                 log. The status is 0 when the launch succeeded. Through pkexec it is refused for anybody but who
///                 called that.
///
/// At the start of a move and at the program's end, what earlier moves to the person's Trash left is finished or
/// undone.
int runHelper(const HelperPolicy& policy, int count, char** arguments);

}  // namespace qm::linux_

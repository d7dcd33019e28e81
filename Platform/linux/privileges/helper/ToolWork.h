// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/linux/privileges/helper/PrivilegedWork.h"
#include "Platform/linux/privileges/protocol/Messages.h"

namespace qm::linux_ {

/// A program that is started as root with the arguments of a launch, a clean environment, no standard input and no
/// descriptor but its standard streams. One that others than root can change is refused. If it fails, the note is the
/// beginning of its error output, in one line.
PreparedWork prepareToolWork(const Launch& launch);

/// The path of a program with the links of its folders resolved: /bin is /usr/bin on many systems. Refused if it is
/// missing, not a file, or can be changed by others than root.
Answer<std::string> checkedProgram(const std::string& path);

}  // namespace qm::linux_

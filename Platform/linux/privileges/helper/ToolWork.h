#pragma once

#include "Platform/linux/privileges/helper/PrivilegedWork.h"
#include "Platform/linux/privileges/protocol/Messages.h"

namespace qm::linux_ {

/// A program that is started as root with the arguments of a launch, a clean environment, nothing as standard input and
/// no descriptor but its standard streams. One that others than root can change is refused. The beginning of its error
/// messages, in one line, is what is said of its end.
PreparedWork prepareToolWork(const Launch& launch);

/// A program by its path without the links of its folders: /bin is /usr/bin on many systems. Refused where it is
/// missing, no file or not root's alone.
Answer<std::string> checkedProgram(const std::string& path);

}  // namespace qm::linux_

#pragma once

#include <string>

namespace qm::linux_ {

/// The zip tool from its start to its status: makes and unpacks zip archives, taking the arguments of the Mac's ditto
/// for that. `name` is what it is called in its messages.
int runZipTool(const std::string& name, int count, char** given);

}  // namespace qm::linux_

#pragma once

#include <string>

namespace qm::posix {

/// A hidden name that nothing has yet, of a length that every file system takes. It protects nothing: who may list
/// the folder sees it.
std::string temporaryName();

}  // namespace qm::posix

#pragma once

#include <string>
#include <vector>

namespace qm::linux_ {

/// A message in one line: the names in it may hold anything, and none may pass for a message of its own.
std::string inOneLine(const std::string& message);

/// The end of a message about a tool that was not run: "; left as it was: /an/item", which is the first path among
/// its arguments. Empty where there is none.
std::string leftAsItWas(const std::vector<std::string>& arguments);

}  // namespace qm::linux_

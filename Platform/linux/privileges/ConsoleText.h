// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace qm::linux_ {

/// A message in one line: the names in it may contain anything, and none may look like a message of its own.
std::string inOneLine(const std::string& message);

/// The end of a message about a tool that was not run: "; left as it was: /an/item", with the first path among its
/// arguments. Empty if there is none.
std::string leftAsItWas(const std::vector<std::string>& arguments);

}  // namespace qm::linux_

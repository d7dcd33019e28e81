// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace qm::posix {

/// Gives the calling thread the rights to read a source and write a destination, for as long as the result lives.
/// Returns null if the copy must not be made. Called on each thread of a copy.
using CopyRights = std::function<std::shared_ptr<void>(const std::string& source, const std::string& destination)>;

}  // namespace qm::posix

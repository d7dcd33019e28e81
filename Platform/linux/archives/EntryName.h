// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "Platform/Status.h"

namespace qm::linux_ {

/// Splits the name of an item in an archive: "a//./b/" gives "a", "b"; "./" gives none. A name that would lead out of
/// the folder that the archive is unpacked into ("/a", "a/../../b") is a failure, and so is one that is too long for
/// any system call.
platform::Status takeApart(const std::string& name, std::vector<std::string>& components);

}  // namespace qm::linux_

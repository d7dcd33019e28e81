#pragma once

#include <string>
#include <vector>

#include "Platform/Status.h"

namespace qm::linux_ {

/// Takes the name of an item in an archive apart: "a//./b/" gives "a", "b"; "./" gives none. A name that would lead out
/// of the folder that the archive is unpacked into ("/a", "a/../../b") is a failure, and so is one too long for any
/// call of the system.
platform::Status takeApart(const std::string& name, std::vector<std::string>& components);

}  // namespace qm::linux_

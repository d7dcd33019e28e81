// SPDX-License-Identifier: MIT
#pragma once

#include <string>

/// The bodies of Platform/posix/rights/SystemRights.h as a system has them that reads links by their name only, and
/// whose modes do not show access lists.
namespace qm::testing::plain {

/// From now on an access list of the folder grants others to write there.
void giveListThatGrantsWriting(const std::string& folder);

}  // namespace qm::testing::plain

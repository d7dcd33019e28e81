// SPDX-License-Identifier: MIT
#pragma once

/// The bodies of Platform/posix/rights/SystemRights.h as a system has them that reads links by their name only, and
/// whose modes do not show access lists.
namespace qm::testing::plain {

/// From now on an access list of this open folder lets others write to it.
void letListGrantWriting(int folder);

}  // namespace qm::testing::plain

// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

/// What Platform/posix/process/ leaves to the system, in plain POSIX: a child is watched by a thread, signalled and
/// reaped by its id, and a reader is woken through a pipe.
namespace qm::testing::plain {

/// The standard streams that children were to keep, in the order in which that was asked for.
std::vector<int> keptStreams();

}  // namespace qm::testing::plain

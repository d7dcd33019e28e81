// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace qm::posix {

/// The bytes of a regular file of at most `limit` bytes; null for anything else that the path may lead to, and for a
/// file that grows while it is read. Links are followed. Never waits for a FIFO's writer and never opens a device.
std::optional<std::string> readSmallFile(const std::string& path, std::size_t limit);

}  // namespace qm::posix

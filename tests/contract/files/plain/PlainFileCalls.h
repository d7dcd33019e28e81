// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <vector>

/// The bodies of Platform/posix/SystemFileCalls.h as a system has them that clones by name, opens items only to read
/// them, knows no mounts beside devices, and keeps creation dates, flags and access lists that deny. What this kernel
/// has not is played: no call of it is refused because of a flag, but those of the bodies are.
namespace qm::testing::plain {

/// Clones made by this process.
int clonesMade();
/// From now on no volume can clone.
void refuseClones();
/// Calls `action` between the creation of a clone and its first use, with its folder and name.
void afterEachClone(std::function<void(int folder, const char* name)> action);

/// A file whose mode has the sticky bit is taken for one with a flag.
inline constexpr unsigned kFlaggedMode = 01000;
/// Names of which access lists forbid the removal.
inline const std::string kDenied = "denied";
/// Names of items that can be opened as little as a socket.
inline const std::string kUnopenable = "unopenable";

/// What was done to items from the first flag on: "flag", "no flag", "date" or "name", with the item's number.
std::vector<std::string> changes();
std::string change(const char* what, unsigned long item);

}  // namespace qm::testing::plain

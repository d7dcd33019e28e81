// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>

#include "Platform/MainThread.h"
#include "Platform/Threads.h"

namespace qm::removal {

/// Main thread: runs the work on a thread of its own, and serves that thread until the work has ended or the given
/// moment has come. Returns false if the work was abandoned; it may then go on for as long as the process lives.
bool runUntil(std::chrono::steady_clock::time_point last, platform::MainThread& mainThread, platform::Threads& threads,
              const std::function<void()>& work);

}  // namespace qm::removal

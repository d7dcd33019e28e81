// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>

#include "Platform/Platform.h"

namespace qm::bench {

/// The real services of this machine, with a main thread that is not running: `performAndWait` calls the hook instead
/// of the work.
const platform::Platform& machine();

/// What `MainThread::performAndWait` of `machine()` calls.
void onPerformAndWait(std::function<void()> hook);

/// An empty folder below the home folder that no run has used before. Old ones are kept until the machine ends, because
/// removing many files slows down creating new ones.
std::string freshFolder(const std::string& name);

void writeFile(const std::string& path, const std::string& contents);

}  // namespace qm::bench

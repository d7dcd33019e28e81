#pragma once

#include <functional>
#include <string>

#include "Platform/Platform.h"

namespace qm::bench {

/// The real services of this machine, with a main thread that nobody runs: `performAndWait` calls the
/// hook instead of the work.
const platform::Platform& machine();

/// What `MainThread::performAndWait` of `machine()` calls.
void onPerformAndWait(std::function<void()> hook);

/// An empty folder below the home folder that no run has used before. Old ones are left to the end of the
/// machine: removing many files slows the making of new ones down.
std::string freshFolder(const std::string& name);

void writeFile(const std::string& path, const std::string& contents);

}  // namespace qm::bench

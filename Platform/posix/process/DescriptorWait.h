// SPDX-License-Identifier: MIT
#pragma once

namespace qm::posix {

/// Lets the main thread wait for a descriptor without blocking. The front end implements it on its own event loop.
class DescriptorWait {
 public:
  virtual ~DescriptorWait() = default;

  /// Main thread only: runs the event loop (windows, timers, work queued for the main thread) and returns once
  /// `descriptor` can be read, at once if it already can. Does not read from it or close it. May be called again from
  /// inside the events that it runs. Returns early only if the loop has stopped because the application is ending.
  virtual void waitUntilReadable(int descriptor) = 0;
};

}  // namespace qm::posix

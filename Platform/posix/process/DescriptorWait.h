#pragma once

namespace qm::posix {

/// How the main thread waits for a descriptor without standing still. The front end implements it on its own
/// event loop.
class DescriptorWait {
 public:
  virtual ~DescriptorWait() = default;

  /// Main thread only: serves the event loop (windows, timers, work queued for the main thread) and returns once
  /// `descriptor` can be read, at once when it already can. Nothing is read from it, and it stays open. May be called
  /// again from inside the events that it serves. Returns early only when the loop serves no events any more because
  /// the application is ending.
  virtual void waitUntilReadable(int descriptor) = 0;
};

}  // namespace qm::posix

#include "Platform/macos/system/MacThreads.h"

#include "Platform/macos/Framework.h"

/// The work is copied, as GCC's Objective-C takes a capture with an initialiser for a message.
bool qm::macos::MacThreads::detachNewThread(std::function<void()> body) {
  return threads_.detachNewThread([body] {
    const Pool pool;
    body();
  });
}

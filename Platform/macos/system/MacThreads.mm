// SPDX-License-Identifier: MIT
#include "Platform/macos/system/MacThreads.h"

#include "Platform/macos/Framework.h"

/// The work is copied into the capture, because GCC's Objective-C rejects a capture with an initialiser: it reads that
/// as a message.
bool qm::macos::MacThreads::detachNewThread(std::function<void()> body) {
  return threads_.detachNewThread([body] {
    const Pool pool;
    body();
  });
}

#include "Platform/macos/system/MacThreads.h"

#include <utility>

#include "Platform/macos/Framework.h"

bool qm::macos::MacThreads::detachNewThread(std::function<void()> body) {
  return threads_.detachNewThread([work = std::move(body)] {
    const Pool pool;
    work();
  });
}

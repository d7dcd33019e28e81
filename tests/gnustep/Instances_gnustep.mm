#include <poll.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "Platform/linux/system/SingleInstance.h"
#include "Uninstaller/appkit/FrontEnd.h"
#include "Uninstaller/appkit/SystemCalls.h"

namespace qm::appkit {

namespace {

using linux_::SingleInstance;

NSWindow* shownWindow() {
  if ([NSApp modalWindow] != nil) return [NSApp modalWindow];
  NSEnumerator* const windows = [[NSApp windows] objectEnumerator];
  while (NSWindow* const window = [windows nextObject]) {
    if ([window delegate] != nil && ([window isVisible] || [window isMiniaturized])) return window;
  }
  return nil;
}

void bringToFront() {
  NSWindow* const window = shownWindow();
  if ([window isMiniaturized]) [window deminiaturize:nil];
  [NSApp activateIgnoringOtherApps:YES];
  [window makeKeyAndOrderFront:nil];
}

bool isAsked(const SingleInstance& instance) {
  pollfd entry{.fd = instance.requests().get(), .events = POLLIN, .revents = 0};
  return ::poll(&entry, 1, -1) > 0 || errno == EINTR;
}

/// Answers further starts, on a thread of its own.
void serveFurtherStarts(const SingleInstance& instance) {
  std::thread([&instance] {
    while (isAsked(instance)) instance.serve([] { frontEnd().mainThread.performAndWait(bringToFront); });
  }).detach();
}

int sayThatNobodyAnswers() {
  static_cast<void>(std::fprintf(stderr, "%s: it is running already, and does not answer.\n",
                                 std::string(frontEnd().product.program).c_str()));
  return EXIT_FAILURE;
}

}  // namespace

std::optional<int> leaveToTheOtherInstance() {
  static auto* const instance = new SingleInstance(std::string(frontEnd().product.identifier));
  switch (instance->start(std::chrono::seconds(5))) {
    case SingleInstance::Start::Answered:
      return EXIT_SUCCESS;
    case SingleInstance::Start::NoAnswer:
      return sayThatNobodyAnswers();
    case SingleInstance::Start::First:
      if (instance->requests()) serveFurtherStarts(*instance);
      break;
  }
  return std::nullopt;
}

}  // namespace qm::appkit

// SPDX-License-Identifier: MIT
#include "Uninstaller/appkit/MainThread.h"

#import <AppKit/AppKit.h>

#include <poll.h>

#include <cerrno>
#include <utility>

using Work = std::function<void()>;

/// Work that is passed to the main thread. The object stores the work's address, because GCC does not accept the type
/// of the work, a C++ template, in an Objective-C method.
@interface QMMainThreadCall : NSObject {
  void* work_;
}
/// Takes ownership of the work.
- (id)initWithWork:(void*)work;
- (void)run;
@end

@implementation QMMainThreadCall

- (id)initWithWork:(void*)work {
  self = [super init];
  if (self != nil) work_ = work;
  return self;
}

- (void)dealloc {
  delete static_cast<Work*>(work_);
  [super dealloc];
}

- (void)run {
  (*static_cast<Work*>(work_))();
}

@end

namespace qm::appkit {

namespace {

constexpr std::chrono::milliseconds kBetweenLooks(10);

bool isReadable(int descriptor) {
  pollfd entry{.fd = descriptor, .events = POLLIN, .revents = 0};
  int ready = 0;
  do {
    ready = ::poll(&entry, 1, 0);
  } while (ready < 0 && errno == EINTR);
  return ready > 0;
}

void handOver(Work work, BOOL waits) {
  NSAutoreleasePool* const pool = [[NSAutoreleasePool alloc] init];
  QMMainThreadCall* const call = [[[QMMainThreadCall alloc] initWithWork:new Work(std::move(work))] autorelease];
  [call performSelectorOnMainThread:@selector(run) withObject:nil waitUntilDone:waits];
  [pool drain];
}

bool handleEvent(std::chrono::milliseconds limit, NSString* mode) {
  NSAutoreleasePool* const pool = [[NSAutoreleasePool alloc] init];
  NSDate* const end = [NSDate dateWithTimeIntervalSinceNow:std::chrono::duration<double>(limit).count()];
  NSEvent* const event = [NSApp nextEventMatchingMask:NSEventMaskAny untilDate:end inMode:mode dequeue:YES];
  if (event != nil) [NSApp sendEvent:event];
  const bool wasThere = event != nil;
  [pool drain];
  return wasThere;
}

}  // namespace

void MainThread::performAndWait(std::function<void()> work) {
  if (isMainThread()) {
    work();
  } else {
    handOver(std::move(work), YES);
  }
}

void MainThread::perform(std::function<void()> work) { handOver(std::move(work), NO); }

bool MainThread::handleOneEvent(std::chrono::milliseconds limit) { return handleEvent(limit, NSModalPanelRunLoopMode); }

void MainThread::waitUntilReadable(int descriptor) {
  while (!isReadable(descriptor)) handleEvent(kBetweenLooks, NSDefaultRunLoopMode);
}

}  // namespace qm::appkit

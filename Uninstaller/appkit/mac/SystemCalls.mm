// SPDX-License-Identifier: MIT
#include "Uninstaller/appkit/SystemCalls.h"

#include <CoreGraphics/CoreGraphics.h>
#include <libproc.h>

#include <vector>

#include "Platform/macos/Framework.h"
#include "Platform/posix/WholeAnswer.h"
#include "Uninstaller/appkit/FrontEnd.h"
#include "Uninstaller/appkit/Instances.h"
#include "Uninstaller/appkit/Text.h"

namespace qm::appkit {
namespace {

/// The number of the system's virtual keys. An event has the virtual key as its key code.
constexpr CGKeyCode kVirtualKeys = 128;

/// The running alert; null if there is none. Main thread only.
NSAlert* alert = nil;

std::optional<std::uint64_t> startOf(pid_t process) {
  const auto found = posix::wholeAnswer<proc_bsdinfo>(
      [process](proc_bsdinfo* facts, int size) { return ::proc_pidinfo(process, PROC_PIDTBSDINFO, 0, facts, size); });
  return found ? std::optional(microsecondsOf(found->pbi_start_tvsec, found->pbi_start_tvusec)) : std::nullopt;
}

Instance instanceOf(NSRunningApplication* application) {
  const pid_t process = [application processIdentifier];
  return {.process = process, .start = startOf(process), .hasEnded = [application isTerminated] != NO};
}

std::vector<Instance> runningInstances(const std::string& identifier) {
  NSArray* const running = [NSRunningApplication runningApplicationsWithBundleIdentifier:macos::stringOf(identifier)];
  std::vector<Instance> instances;
  for (NSUInteger i = 0; i < [running count]; ++i) instances.push_back(instanceOf([running objectAtIndex:i]));
  return instances;
}

bool activate(pid_t process) {
  return [[NSRunningApplication runningApplicationWithProcessIdentifier:process]
      activateWithOptions:NSApplicationActivateAllWindows];
}

NSString* textOrNil(const std::optional<std::string>& text) { return text ? textOf(*text) : nil; }

}  // namespace

HeldKeys heldKeys() {
  HeldKeys held{.keys = {}, .time = [[NSProcessInfo processInfo] systemUptime]};
  for (CGKeyCode key = 0; key < kVirtualKeys; ++key) {
    held.keys[key] = CGEventSourceKeyState(kCGEventSourceStateCombinedSessionState, key);
  }
  return held;
}

bool isRepeat(NSEvent* event) { return [event isARepeat]; }

/// Launch Services start one instance only. This is for a user who starts the program's file directly.
std::optional<int> leaveToTheOtherInstance() {
  const macos::Pool pool;
  return leaveToFirstInstance(macos::optionalTextOf([[NSBundle mainBundle] bundleIdentifier]),
                              instanceOf([NSRunningApplication currentApplication]),
                              std::string(frontEnd().product.program), runningInstances, activate);
}

void runAlert(NSString* title, NSString* message, NSAlertStyle style, NSView* accessory) {
  alert = [[NSAlert alloc] init];
  [alert setMessageText:title];
  [alert setInformativeText:message];
  [alert setAlertStyle:style];
  [alert setAccessoryView:accessory];
  [alert runModal];
  [alert release];
  alert = nil;
}

/// The accessory is set again because the alert reads its size only then.
void fitAlert(NSView* accessory) {
  [alert setAccessoryView:accessory];
  [alert layout];
}

void describe(NSView* control, const Description& description) {
  [control setAccessibilityLabel:textOrNil(description.label)];
  [control setAccessibilityHelp:textOrNil(description.help)];
}

Description descriptionOf(NSView* control) {
  return {macos::optionalTextOf([control accessibilityLabel]), macos::optionalTextOf([control accessibilityHelp])};
}

}  // namespace qm::appkit

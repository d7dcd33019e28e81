#include "Uninstaller/appkit/SystemCalls.h"

#include <CoreGraphics/CoreGraphics.h>
#include <libproc.h>

#include <cstdlib>
#include <vector>

#include "Platform/macos/Framework.h"
#include "Uninstaller/appkit/Instances.h"

namespace qm::appkit {
namespace {

/// The number of the system's virtual keys. An event has the virtual key as its key code.
constexpr CGKeyCode kVirtualKeys = 128;

/// The running alert; null if there is none. Main thread only.
NSAlert* alert = nil;

std::uint64_t startOf(pid_t process) {
  proc_bsdinfo found{};
  const int size = ::proc_pidinfo(process, PROC_PIDTBSDINFO, 0, &found, sizeof found);
  return size == static_cast<int>(sizeof found) ? found.pbi_start_tvsec * 1000000 + found.pbi_start_tvusec : 0;
}

Instance instanceOf(NSRunningApplication* application) {
  const pid_t process = [application processIdentifier];
  return {.process = process, .start = startOf(process), .hasEnded = [application isTerminated] != NO};
}

}  // namespace

HeldKeys heldKeys() {
  HeldKeys held{.keys = {}, .time = [[NSProcessInfo processInfo] systemUptime]};
  for (CGKeyCode key = 0; key < kVirtualKeys; ++key) {
    held.keys[key] = CGEventSourceKeyState(kCGEventSourceStateCombinedSessionState, key);
  }
  return held;
}

bool isRepeat(NSEvent* event) { return [event isARepeat]; }

/// Launch Services start one instance only. This is for a user who starts the program's file directly. Without a bundle
/// identifier other instances cannot be found.
std::optional<int> leaveToTheOtherInstance() {
  const macos::Pool pool;
  NSString* const identifier = [[NSBundle mainBundle] bundleIdentifier];
  if (identifier == nil) return std::nullopt;
  NSArray* const running = [NSRunningApplication runningApplicationsWithBundleIdentifier:identifier];
  std::vector<Instance> others;
  for (NSUInteger i = 0; i < [running count]; ++i) others.push_back(instanceOf([running objectAtIndex:i]));
  const auto first = instanceToLeaveTo(instanceOf([NSRunningApplication currentApplication]), others);
  if (!first) return std::nullopt;
  [[NSRunningApplication runningApplicationWithProcessIdentifier:*first]
      activateWithOptions:NSApplicationActivateAllWindows];
  return EXIT_SUCCESS;
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

void describe(NSView* control, NSString* label, NSString* help) {
  [control setAccessibilityLabel:label];
  [control setAccessibilityHelp:help];
}

Description descriptionOf(NSView* control) { return {[control accessibilityLabel], [control accessibilityHelp]}; }

}  // namespace qm::appkit

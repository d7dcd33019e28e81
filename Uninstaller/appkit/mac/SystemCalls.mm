#include "Uninstaller/appkit/SystemCalls.h"

#include <CoreGraphics/CoreGraphics.h>
#include <libproc.h>

#include <cstdlib>
#include <vector>

#include "Platform/macos/Framework.h"
#include "Uninstaller/appkit/Instances.h"

namespace qm::appkit {
namespace {

/// The system's virtual keys; what an event calls its key's code.
constexpr CGKeyCode kVirtualKeys = 128;

/// The one that runs. Main thread only.
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

/// Launch Services start one; this is for whoever starts the program itself. A program without an identifier has no
/// others that could be found.
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

/// The alert looks at the size of a view when it is given one.
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

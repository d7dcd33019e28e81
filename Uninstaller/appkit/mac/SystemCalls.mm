#include "Uninstaller/appkit/SystemCalls.h"

#include <CoreGraphics/CoreGraphics.h>

#include <cstdlib>

#include "Platform/Platform.h"
#include "Platform/macos/Framework.h"
#include "Platform/posix/rights/RightsForPaths.h"

namespace qm::appkit {
namespace {

/// The system's virtual keys; what an event calls its key's code.
constexpr CGKeyCode kVirtualKeys = 128;

/// The one that runs. Main thread only.
NSAlert* alert = nil;

}  // namespace

HeldKeys heldKeys() {
  HeldKeys held{.keys = {}, .time = [[NSProcessInfo processInfo] systemUptime]};
  for (CGKeyCode key = 0; key < kVirtualKeys; ++key) {
    held.keys[key] = CGEventSourceKeyState(kCGEventSourceStateCombinedSessionState, key);
  }
  return held;
}

bool isRepeat(NSEvent* event) { return [event type] == NSEventTypeKeyDown && [event isARepeat]; }

/// Launch Services start one; this is for whoever starts the program itself.
std::optional<int> leaveToTheOtherInstance() {
  const macos::Pool pool;
  NSString* const identifier = [[NSBundle mainBundle] bundleIdentifier];
  NSArray* const running = [NSRunningApplication runningApplicationsWithBundleIdentifier:identifier];
  const pid_t own = [[NSRunningApplication currentApplication] processIdentifier];
  for (NSUInteger i = 0; i < [running count]; ++i) {
    NSRunningApplication* const other = [running objectAtIndex:i];
    if ([other processIdentifier] == own) continue;
    [other activateWithOptions:NSApplicationActivateAllWindows];
    return EXIT_SUCCESS;
  }
  return std::nullopt;
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

void measureAsAllowed(PlannedItem& item) {
  const posix::RightsForPaths rights(*platform::platform().users, {*item.path});
  if (rights.ok()) measure(item);
}

}  // namespace qm::appkit

// SPDX-License-Identifier: MIT
#pragma once

#import <AppKit/AppKit.h>

#include <optional>

#include "Uninstaller/appkit/Description.h"
#include "Uninstaller/appkit/FreshKeys.h"

/// The calls that macOS and GNUstep implement differently. CMake's file lists choose the implementation. The
/// implementations make no decisions. Main thread only.
namespace qm::appkit {

/// The keys that are down now, and the present time on the clock of the events.
HeldKeys heldKeys();
/// Whether an event is the automatic repetition of a held key. Must be called for every key event, including releases,
/// in their order.
bool isRepeat(NSEvent* event);

/// If the user has another instance of the program, brings it to the front and returns the exit code for this process.
/// Null otherwise. Call it before the application object is created.
std::optional<int> leaveToTheOtherInstance();

/// Runs an alert with the system's single button. The alert shows the accessory, unless that is null.
void runAlert(NSString* title, NSString* message, NSAlertStyle style, NSView* accessory);
/// Fits the running alert to its accessory, whose size has changed.
void fitAlert(NSView* accessory);

/// Sets the control's description for screen readers. Controls from an interface file have theirs from that file.
void describe(NSView* control, const Description& description);
/// The control's present description.
Description descriptionOf(NSView* control);

}  // namespace qm::appkit

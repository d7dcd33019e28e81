// SPDX-License-Identifier: MIT
#pragma once

#import <AppKit/AppKit.h>

#include <optional>

#include "Uninstaller/appkit/FreshKeys.h"

/// What systems with AppKit do each in its own way. Which of them is compiled is decided by the build's lists of files.
/// Nothing is decided behind these calls. Main thread only.
namespace qm::appkit {

/// The keys that are held now, and the time that events of this moment have.
HeldKeys heldKeys();
/// Whether a held key has made a press by itself. Gets every event of a key, in their order, its releases too.
bool isRepeat(NSEvent* event);

/// Where the user has another instance of the program, brings it to the front; the answer is then the exit code of this
/// one. Comes before the application object is made.
std::optional<int> leaveToTheOtherInstance();

/// Runs an alert with the system's single button. The accessory, where there is one, is shown in it.
void runAlert(NSString* title, NSString* message, NSAlertStyle style, NSView* accessory);
/// The accessory of the alert that runs has another size now, and the alert is to fit it.
void fitAlert(NSView* accessory);

/// What people hear who do not see the control. Interface files say it of their own.
void describe(NSView* control, NSString* label, NSString* help);
/// The same as it is described now; null where nothing is said.
struct Description {
  NSString* label;
  NSString* help;
};
Description descriptionOf(NSView* control);

}  // namespace qm::appkit

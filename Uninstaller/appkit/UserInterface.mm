// SPDX-License-Identifier: MIT
#include "Uninstaller/appkit/UserInterface.h"

#import <AppKit/AppKit.h>

#include "Uninstaller/appkit/Details.h"
#include "Uninstaller/appkit/SystemCalls.h"
#include "Uninstaller/appkit/Text.h"

namespace qm::appkit {

void UserInterface::runAlertPanel(const std::string& title, const std::string& message, const std::string& details) {
  isAtItsEnd_ = true;
  NSAutoreleasePool* const pool = [[NSAutoreleasePool alloc] init];
  NSView* const accessory = details.empty() ? nil : makeDetails(textOf(details));
  const NSAlertStyle style = details.empty() ? NSAlertStyleInformational : NSAlertStyleWarning;
  runAlert(textOf(title), textOf(message), style, accessory);
  [pool drain];
}

void UserInterface::terminate(const platform::ActionSender* /*sender*/) {
  isAtItsEnd_ = true;
  [NSApp terminate:nil];
}

}  // namespace qm::appkit

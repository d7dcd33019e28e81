#include "Uninstaller/Application.h"

#import <AppKit/AppKit.h>

#include <cstdlib>

#include "Uninstaller/appkit/FrontEnd.h"
#include "Uninstaller/appkit/SystemCalls.h"

using qm::appkit::frontEnd;

namespace {

bool walksFromControlToControl(NSEvent* event) {
  NSString* const characters = [event charactersIgnoringModifiers];
  if ([characters length] == 0) return false;
  switch ([characters characterAtIndex:0]) {
    case NSTabCharacter:
    case NSBackTabCharacter:
    case NSUpArrowFunctionKey:
    case NSDownArrowFunctionKey:
    case NSLeftArrowFunctionKey:
    case NSRightArrowFunctionKey:
      return true;
    default:
      return false;
  }
}

bool isToBeHandled(NSEvent* event) {
  if ([event type] == NSEventTypeKeyUp) frontEnd().freshKeys.release([event keyCode], [event timestamp]);
  if ([event type] != NSEventTypeKeyDown) return true;
  return frontEnd().freshKeys.takes({.key = [event keyCode],
                                     .time = [event timestamp],
                                     .isRepeat = [event isARepeat] == YES,
                                     .walks = walksFromControlToControl(event)});
}

}  // namespace

/// The application: only fresh presses of keys reach its windows, and it cannot be quit while a removal runs.
@interface QMApplication : NSApplication
@end

@implementation QMApplication

- (void)finishLaunching {
  [[NSNotificationCenter defaultCenter] addObserver:self
                                           selector:@selector(windowGotKeyboard:)
                                               name:NSWindowDidBecomeKeyNotification
                                             object:nil];
  [super finishLaunching];
}

- (void)windowGotKeyboard:(NSNotification*)notification {
  frontEnd().freshKeys.hold(qm::appkit::heldKeys());
}

- (void)sendEvent:(NSEvent*)event {
  if (isToBeHandled(event)) [super sendEvent:event];
}

- (BOOL)validateMenuItem:(NSMenuItem*)item {
  if ([item action] == @selector(terminate:)) return frontEnd().mayQuit() ? YES : NO;
  return ![NSApplication instancesRespondToSelector:_cmd] || [super validateMenuItem:item];
}

@end

/// Does not come back where the application ends by itself.
int qm::uninstaller::applicationMain(int argc, char** argv, const platform::ProductIdentity& product,
                                     const MakeInterfaceOwner& makeOwner) {
  auto& front = frontEnd();
  front.product = product;
  front.makeOwner = makeOwner;
  if (const auto code = appkit::leaveToTheOtherInstance()) return *code;
  return NSApplicationMain(argc, const_cast<const char**>(argv));
}

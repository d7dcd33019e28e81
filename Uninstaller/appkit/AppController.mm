// SPDX-License-Identifier: MIT
#import <AppKit/AppKit.h>

#include "Uninstaller/appkit/FrontEnd.h"
#include "Uninstaller/appkit/Localize.h"
#include "Uninstaller/appkit/MainInterface.h"

using qm::appkit::Controls;
using qm::appkit::frontEnd;
using qm::appkit::MainInterface;
using qm::uninstaller::InterfaceOwner;

/// The object that the interface file creates, with its outlets and actions. It passes every action on to the owner of
/// the interface. It is also the delegate of the application and of the two windows.
@interface AppController : NSObject <NSApplicationDelegate, NSWindowDelegate> {
  IBOutlet NSWindow* windowMain;
  IBOutlet NSButton* removeSharedCheck;
  IBOutlet NSButton* removeConfigCheck;
  IBOutlet NSWindow* windowProgress;
  IBOutlet NSProgressIndicator* progressBar;
}
- (IBAction)uninstall:(id)sender;
- (IBAction)cancel:(id)sender;
@end

@implementation AppController

- (void)awakeFromNib {
  auto& front = frontEnd();
  if (front.interface) return;
  using namespace qm::appkit;
  std::unique_ptr<Controls> controls(new Controls{Window(windowMain), CheckBox(removeSharedCheck),
                                                  CheckBox(removeConfigCheck), Window(windowProgress),
                                                  ProgressIndicator(progressBar)});
  front.interface = std::make_unique<MainInterface>(front.makeOwner(), std::move(controls));
}

- (IBAction)uninstall:(id)sender {
  frontEnd().interface->send(&InterfaceOwner::uninstall);
}

- (IBAction)cancel:(id)sender {
  frontEnd().interface->send(&InterfaceOwner::cancel);
}

- (void)applicationDidFinishLaunching:(NSNotification*)notification {
  qm::appkit::localize([NSApp mainMenu]);
  qm::appkit::localize(windowMain);
  qm::appkit::localize(windowProgress);
  frontEnd().interface->showMainWindow();
}

- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication*)application {
  return frontEnd().mayQuit() ? NSTerminateNow : NSTerminateCancel;
}

/// Yes, because the program stores no state of its windows that could be restored.
- (BOOL)applicationSupportsSecureRestorableState:(NSApplication*)application {
  return YES;
}

/// No window closes by itself. A request to close the main window is treated as *Cancel*.
- (BOOL)windowShouldClose:(id)window {
  if (window == windowMain) [self cancel:window];
  return NO;
}

@end

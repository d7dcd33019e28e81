// SPDX-License-Identifier: MIT

// The parts of AppKit that this project uses.
#pragma once

#include <Foundation/Foundation.h>

#define IBOutlet
#define IBAction void

@class NSEvent, NSImage, NSScreen, NSTableView, NSTableColumn, NSWindow;

typedef NSInteger NSModalResponse;
typedef NSInteger NSControlStateValue;
enum : NSControlStateValue { NSControlStateValueOff = 0, NSControlStateValueOn = 1 };

typedef unsigned long long NSEventMask;
enum : NSEventMask { NSEventMaskAny = ~0ULL };
typedef NSUInteger NSEventType;
enum : NSEventType { NSEventTypeKeyDown = 10, NSEventTypeKeyUp = 11 };
enum : unichar {
  NSTabCharacter = 0x0009,
  NSBackTabCharacter = 0x0019,
  NSUpArrowFunctionKey = 0xF700,
  NSDownArrowFunctionKey = 0xF701,
  NSLeftArrowFunctionKey = 0xF702,
  NSRightArrowFunctionKey = 0xF703
};

FOUNDATION_EXPORT NSString* const NSModalPanelRunLoopMode;
FOUNDATION_EXPORT NSString* const NSWindowDidBecomeKeyNotification;

@interface NSResponder : NSObject
@end

@interface NSEvent : NSObject
@property(readonly) NSEventType type;
@property(readonly) NSTimeInterval timestamp;
@property(readonly) unsigned short keyCode;
@property(readonly, getter=isARepeat) BOOL ARepeat;
@property(readonly, copy) NSString* charactersIgnoringModifiers;
@end

@class NSMenu;

@interface NSMenuItem : NSObject
@property SEL action;
@property(copy) NSString* title;
@property(readonly) BOOL hasSubmenu;
@property(strong) NSMenu* submenu;
@end

@interface NSMenu : NSObject
@property(copy) NSString* title;
@property(copy) NSArray* itemArray;
@end

typedef NSUInteger NSApplicationTerminateReply;
enum : NSApplicationTerminateReply { NSTerminateCancel = 0, NSTerminateNow = 1 };

@interface NSApplication : NSResponder
- (void)finishLaunching;
- (NSEvent*)nextEventMatchingMask:(NSEventMask)mask
                        untilDate:(NSDate*)expiration
                           inMode:(NSString*)mode
                          dequeue:(BOOL)dequeue;
- (void)sendEvent:(NSEvent*)event;
- (void)terminate:(id)sender;
- (void)hide:(id)sender;
- (void)hideOtherApplications:(id)sender;
- (void)unhideAllApplications:(id)sender;
- (void)orderFrontStandardAboutPanel:(id)sender;
- (BOOL)validateMenuItem:(NSMenuItem*)item;
@property(strong) NSMenu* mainMenu;
@end
FOUNDATION_EXPORT NSApplication* NSApp;
FOUNDATION_EXPORT int NSApplicationMain(int argc, const char* argv[]);

@protocol NSApplicationDelegate <NSObject>
@optional
- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication*)application;
- (void)applicationDidFinishLaunching:(NSNotification*)notification;
- (BOOL)applicationSupportsSecureRestorableState:(NSApplication*)application;
@end

typedef NSUInteger NSAutoresizingMaskOptions;
enum : NSAutoresizingMaskOptions { NSViewMinXMargin = 1, NSViewWidthSizable = 2, NSViewMinYMargin = 8 };

@interface NSView : NSResponder
- (instancetype)initWithFrame:(NSRect)frame;
- (void)addSubview:(NSView*)view;
- (void)setFrameSize:(NSSize)size;
@property NSRect frame;
@property(readonly, assign) NSView* superview;
@property(copy) NSArray* subviews;
@property(copy) NSString* toolTip;
@property(getter=isHidden) BOOL hidden;
@property(readonly, assign) NSWindow* window;
@property NSAutoresizingMaskOptions autoresizingMask;
@end

@interface NSView (Accessibility)
@property(copy) NSString* accessibilityLabel;
@property(copy) NSString* accessibilityHelp;
@end

@interface NSWindow : NSResponder
@property(readonly, getter=isVisible) BOOL visible;
@property(readonly) NSRect frame;
@property(copy) NSString* title;
@property(strong) NSView* contentView;
- (void)center;
- (void)makeKeyAndOrderFront:(id)sender;
- (void)orderOut:(id)sender;
- (void)performClose:(id)sender;
- (void)performMiniaturize:(id)sender;
- (void)setFrame:(NSRect)frame display:(BOOL)display;
@end

@protocol NSWindowDelegate <NSObject>
@optional
- (BOOL)windowShouldClose:(NSWindow*)window;
@end

typedef NSInteger NSTextAlignment;
enum : NSTextAlignment { NSTextAlignmentLeft = 0 };

@interface NSCell : NSObject
@property(copy) NSString* stringValue;
- (NSSize)cellSizeForBounds:(NSRect)rect;
@end

@interface NSControl : NSView
@property(strong) NSCell* cell;
@property(assign) id target;
@property SEL action;
@property NSTextAlignment alignment;
@property BOOL refusesFirstResponder;
@property(copy) NSString* stringValue;
- (void)performClick:(id)sender;
- (void)sizeToFit;
@end

typedef NSUInteger NSBezelStyle;
enum : NSBezelStyle { NSBezelStyleDisclosure = 5 };
typedef NSUInteger NSButtonType;
enum : NSButtonType { NSButtonTypePushOnPushOff = 1 };

@interface NSButton : NSControl
- (void)setButtonType:(NSButtonType)type;
@property NSControlStateValue state;
@property NSBezelStyle bezelStyle;
@property(getter=isBordered) BOOL bordered;
@property(copy) NSString* title;
@end

@interface NSTextField : NSControl
@end

@interface NSColor : NSObject
@property(class, readonly, strong) NSColor* textColor;
@end

@interface NSText : NSView
@property(getter=isEditable) BOOL editable;
@property(copy) NSString* string;
@property(copy) NSColor* textColor;
@property(getter=isVerticallyResizable) BOOL verticallyResizable;
- (void)copy:(id)sender;
- (void)selectAll:(id)sender;
@end

@interface NSTextView : NSText
@end

typedef NSUInteger NSBorderType;
enum : NSBorderType { NSBezelBorder = 2 };

@interface NSScrollView : NSView
@property NSBorderType borderType;
@property BOOL hasVerticalScroller;
@property(readonly) NSSize contentSize;
@property(retain) NSView* documentView;
@end

@interface NSTableHeaderCell : NSCell
@end

@interface NSTableColumn : NSObject
@property(copy) NSString* identifier;
@property(strong) NSTableHeaderCell* headerCell;
@end

@interface NSTableView : NSControl
@property(readonly) NSInteger selectedRow;
@property(readonly, copy) NSArray* tableColumns;
- (void)reloadData;
- (void)deselectAll:(id)sender;
- (void)sizeLastColumnToFit;
- (void)selectRowIndexes:(NSIndexSet*)indexes byExtendingSelection:(BOOL)extend;
@end

@protocol NSTableViewDataSource <NSObject>
@optional
- (NSInteger)numberOfRowsInTableView:(NSTableView*)table;
- (id)tableView:(NSTableView*)table objectValueForTableColumn:(NSTableColumn*)column row:(NSInteger)row;
@end

@interface NSProgressIndicator : NSView
@property BOOL usesThreadedAnimation;
- (void)startAnimation:(id)sender;
@end

typedef NSUInteger NSAlertStyle;
enum : NSAlertStyle { NSAlertStyleWarning = 0, NSAlertStyleInformational = 1 };

@interface NSAlert : NSObject
@property(copy) NSString* messageText;
@property(copy) NSString* informativeText;
@property NSAlertStyle alertStyle;
@property(retain) NSView* accessoryView;
@property(readonly, retain) NSWindow* window;
- (void)layout;
- (NSModalResponse)runModal;
@end

typedef NSUInteger NSApplicationActivationOptions;
enum : NSApplicationActivationOptions { NSApplicationActivateAllWindows = 1 };

@interface NSRunningApplication : NSObject
+ (NSArray*)runningApplicationsWithBundleIdentifier:(NSString*)identifier;
+ (instancetype)runningApplicationWithProcessIdentifier:(pid_t)process;
@property(class, readonly, strong) NSRunningApplication* currentApplication;
@property(readonly) pid_t processIdentifier;
@property(readonly, getter=isTerminated) BOOL terminated;
- (BOOL)activateWithOptions:(NSApplicationActivationOptions)options;
@end

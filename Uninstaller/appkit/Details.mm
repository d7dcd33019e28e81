// SPDX-License-Identifier: MIT
#include "Uninstaller/appkit/Details.h"

#include "Uninstaller/Language.h"
#include "Uninstaller/appkit/SystemCalls.h"
#include "Uninstaller/appkit/Text.h"

namespace {

using qm::appkit::textOf;
using qm::uninstaller::translated;

constexpr CGFloat kWidth = 420;
constexpr CGFloat kButtonHeight = 20;
constexpr CGFloat kTriangleWidth = 18;
constexpr CGFloat kTitleWidth = 64;
constexpr CGFloat kSpace = 8;
constexpr CGFloat kTextHeight = 150;
constexpr CGFloat kOpenHeight = kButtonHeight + kSpace + kTextHeight;

NSButton* makeButton(NSRect frame) {
  NSButton* const button = [[[NSButton alloc] initWithFrame:frame] autorelease];
  [button setAutoresizingMask:NSViewMinYMargin];
  return button;
}

NSButton* makeTriangle() {
  NSButton* const button = makeButton(NSMakeRect(0, 0, kTriangleWidth, kButtonHeight));
  [button setBezelStyle:NSBezelStyleDisclosure];
  [button setButtonType:NSButtonTypePushOnPushOff];
  [button setTitle:@""];
  qm::appkit::describe(button, {translated("Details"), translated("Shows what stayed where it was, and why.")});
  return button;
}

/// A click on the word has the effect of a click on the triangle.
NSButton* makeTitle(NSButton* triangle) {
  NSButton* const button = makeButton(NSMakeRect(kTriangleWidth, 0, kTitleWidth, kButtonHeight));
  [button setBordered:NO];
  [button setTitle:textOf(translated("Details"))];
  [button setAlignment:NSTextAlignmentLeft];
  [button setRefusesFirstResponder:YES];
  [button setTarget:triangle];
  [button setAction:@selector(performClick:)];
  return button;
}

NSTextView* makeText(NSString* details, NSSize size) {
  NSTextView* const text = [[[NSTextView alloc] initWithFrame:NSMakeRect(0, 0, size.width, size.height)] autorelease];
  [text setEditable:NO];
  [text setTextColor:[NSColor textColor]];
  [text setString:[details stringByTrimmingCharactersInSet:[NSCharacterSet newlineCharacterSet]]];
  [text setVerticallyResizable:YES];
  [text setAutoresizingMask:NSViewWidthSizable];
  qm::appkit::describe(text, {translated("Details"), std::nullopt});
  return text;
}

NSScrollView* makeScrollingText(NSString* details) {
  NSScrollView* const area = [[[NSScrollView alloc] initWithFrame:NSMakeRect(0, 0, kWidth, kTextHeight)] autorelease];
  [area setBorderType:NSBezelBorder];
  [area setHasVerticalScroller:YES];
  [area setDocumentView:makeText(details, [area contentSize])];
  [area setHidden:YES];
  return area;
}

}  // namespace

/// A click on the triangle shows the text or hides it.
@interface QMDetails : NSView {
  NSView* text_;
}
- (id)initWithText:(NSString*)details;
- (void)toggle:(id)triangle;
@end

@implementation QMDetails

- (id)initWithText:(NSString*)details {
  self = [super initWithFrame:NSMakeRect(0, 0, kWidth, kButtonHeight)];
  if (self == nil) return nil;
  NSButton* const triangle = makeTriangle();
  [triangle setTarget:self];
  [triangle setAction:@selector(toggle:)];
  text_ = makeScrollingText(details);
  [self addSubview:triangle];
  [self addSubview:makeTitle(triangle)];
  [self addSubview:text_];
  return self;
}

- (void)toggle:(id)triangle {
  const BOOL isOpen = [triangle state] == NSControlStateValueOn;
  [text_ setHidden:isOpen ? NO : YES];
  [self setFrameSize:NSMakeSize(kWidth, isOpen ? kOpenHeight : kButtonHeight)];
  qm::appkit::fitAlert(self);
}

@end

namespace qm::appkit {

NSView* makeDetails(NSString* text) { return [[[QMDetails alloc] initWithText:text] autorelease]; }

}  // namespace qm::appkit

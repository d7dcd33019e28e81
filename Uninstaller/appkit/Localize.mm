// SPDX-License-Identifier: MIT
#include "Uninstaller/appkit/Localize.h"

#include <string>

#include "Uninstaller/Language.h"
#include "Uninstaller/appkit/SystemCalls.h"
#include "Uninstaller/appkit/Text.h"

namespace {

/// More than the height of any text.
constexpr CGFloat kUnlimited = 10000;

NSString* inLanguage(NSString* english) {
  return [english length] == 0 ? english : qm::appkit::textOf(qm::uninstaller::translated([english UTF8String]));
}

template <class Work>
void forEach(NSArray* all, const Work& work) {
  for (NSUInteger index = 0; index < [all count]; ++index) work([all objectAtIndex:index]);
}

bool isAtTop(NSView* view) { return ([view autoresizingMask] & NSViewMinYMargin) != 0; }
bool isAtRightEdge(NSView* view) { return ([view autoresizingMask] & NSViewMinXMargin) != 0; }

CGFloat widthOfTitle(NSButton* button) {
  const NSRect frame = [button frame];
  [button sizeToFit];
  const CGFloat width = [button frame].size.width;
  [button setFrame:frame];
  return width;
}

/// Widens the button if its title needs more room. The buttons to its left are moved to make room.
void grow(NSButton* button) {
  const NSRect frame = [button frame];
  const CGFloat more = widthOfTitle(button) - frame.size.width;
  if (more <= 0) return;
  forEach([[button superview] subviews], [&](NSView* other) {
    NSRect moved = [other frame];
    if (!isAtRightEdge(other) || moved.origin.x > frame.origin.x) return;
    moved.origin.x -= more;
    if (other == button) moved.size.width += more;
    [other setFrame:moved];
  });
}

CGFloat heightOfText(NSTextField* label) {
  return [[label cell] cellSizeForBounds:NSMakeRect(0, 0, [label frame].size.width, kUnlimited)].height;
}

void makeHigher(NSWindow* window, CGFloat more) {
  NSRect frame = [window frame];
  frame.size.height += more;
  [window setFrame:frame display:NO];
}

/// Makes the label higher if its text needs more lines. The window grows, so what is above the label keeps its distance
/// from the window's top. What is below the label moves down, except for what is at the window's bottom.
void growDown(NSTextField* label) {
  const CGFloat more = heightOfText(label) - [label frame].size.height;
  if (more <= 0) return;
  makeHigher([label window], more);
  const CGFloat place = [label frame].origin.y;
  forEach([[label superview] subviews], [&](NSView* other) {
    NSRect moved = [other frame];
    if (!isAtTop(other) || moved.origin.y > place) return;
    moved.origin.y -= more;
    if (other == label) moved.size.height += more;
    [other setFrame:moved];
  });
}

void localizeLabel(NSTextField* label) {
  [label setStringValue:inLanguage([label stringValue])];
  if (isAtTop(label)) growDown(label);
}

void localizeButton(NSButton* button) {
  [button setTitle:inLanguage([button title])];
  if (isAtRightEdge(button)) grow(button);
}

void localizeColumns(NSTableView* list) {
  forEach([list tableColumns], [](NSTableColumn* column) {
    [[column headerCell] setStringValue:inLanguage([[column headerCell] stringValue])];
  });
}

void localizeView(NSView* view) {
  if ([view isKindOfClass:[NSButton class]]) localizeButton(static_cast<NSButton*>(view));
  if ([view isKindOfClass:[NSTableView class]]) localizeColumns(static_cast<NSTableView*>(static_cast<id>(view)));
  if ([view isKindOfClass:[NSTextField class]]) localizeLabel(static_cast<NSTextField*>(static_cast<id>(view)));
  if ([[view toolTip] length] > 0) [view setToolTip:inLanguage([view toolTip])];
  const auto description = qm::appkit::translatedDescription(qm::appkit::descriptionOf(view));
  if (description) qm::appkit::describe(view, *description);
  forEach([view subviews], localizeView);
}

}  // namespace

namespace qm::appkit {

void localize(NSWindow* window) {
  [window setTitle:inLanguage([window title])];
  localizeView([window contentView]);
}

void localize(NSMenu* menu) {
  [menu setTitle:inLanguage([menu title])];
  forEach([menu itemArray], [](NSMenuItem* item) {
    [item setTitle:inLanguage([item title])];
    if ([item hasSubmenu]) localize([item submenu]);
  });
}

}  // namespace qm::appkit

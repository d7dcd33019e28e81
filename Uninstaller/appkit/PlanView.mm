// SPDX-License-Identifier: MIT
#include "Uninstaller/appkit/PlanView.h"

#include <algorithm>
#include <optional>

#include "Uninstaller/appkit/Measure.h"
#include "Uninstaller/appkit/SystemCalls.h"
#include "Uninstaller/appkit/Text.h"

namespace qm::appkit {

namespace {

/// The top of the window stays where it is.
NSRect grownBy(NSRect frame, CGFloat height) {
  frame.origin.y -= height;
  frame.size.height += height;
  return frame;
}

}  // namespace

PlanView::PlanView(NSView* area, NSTableView* list, NSTextField* summary)
    : area_(area),
      list_(list),
      summary_(summary),
      preview_([this](const Preview& found) { show(found); }, measureAsAllowed) {}

void PlanView::open(bool isOpen) {
  makeRoom(isOpen);
  isOpen ? preview_.look() : preview_.abandon();
}

void PlanView::makeRoom(bool isOpen) {
  if ([area_ isHidden] != isOpen) return;
  const CGFloat height = [area_ frame].size.height;
  NSWindow* const window = [area_ window];
  [area_ setHidden:isOpen ? NO : YES];
  [window setFrame:grownBy([window frame], isOpen ? height : -height) display:YES];
  [list_ sizeLastColumnToFit];
}

void PlanView::setRemoveConfig(RemoveConfig removeConfig) {
  removeConfig_ = removeConfig;
  fill();
}

void PlanView::show(const Preview& found) {
  found_ = found;
  fill();
}

/// Keeps the selected item selected, so that a user who goes through the list does not lose the place.
void PlanView::fill() {
  const auto index = static_cast<std::size_t>([list_ selectedRow]);
  const std::optional<PreviewRow> reached = index < rows_.size() ? std::optional(rows_[index]) : std::nullopt;
  rows_ = previewRows(found_, removeConfig_);
  [list_ reloadData];
  [list_ deselectAll:nil];
  const auto again = std::ranges::find_if(rows_, [&](const auto& row) { return reached && row.path == reached->path; });
  if (again != rows_.end()) {
    const auto row = static_cast<NSUInteger>(again - rows_.begin());
    [list_ selectRowIndexes:[NSIndexSet indexSetWithIndex:row] byExtendingSelection:NO];
  }
  [summary_ setStringValue:textOf(previewSummary(found_, removeConfig_))];
}

}  // namespace qm::appkit

// SPDX-License-Identifier: MIT
#pragma once

#import <AppKit/AppKit.h>

#include <vector>

#include "Uninstaller/RemovalPreview.h"

namespace qm::appkit {

/// The items that would be moved, one a line with its size, and their sum below. Hidden at first. Looks at the disk
/// each time that it is opened, and only then. Main thread only.
class PlanView {
 public:
  /// The controls are the interface file's. `area` holds the list and the summary, and the window grows by its height.
  PlanView(NSView* area, NSTableView* list, NSTextField* summary);

  void open(bool isOpen);
  /// Shows the items for a removal of this kind.
  void setRemoveConfig(RemoveConfig removeConfig);
  /// Nothing is looked for any more.
  void abandon() { preview_.abandon(); }

  const std::vector<PreviewRow>& rows() const { return rows_; }

 private:
  void show(const Preview& found);
  void fill();
  void makeRoom(bool isOpen);

  NSView* area_;
  NSTableView* list_;
  NSTextField* summary_;
  Preview found_;
  RemoveConfig removeConfig_ = RemoveConfig::No;
  std::vector<PreviewRow> rows_;
  RemovalPreview preview_;
};

}  // namespace qm::appkit

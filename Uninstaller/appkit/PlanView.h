// SPDX-License-Identifier: MIT
#pragma once

#import <AppKit/AppKit.h>

#include <vector>

#include "Uninstaller/RemovalPreview.h"

namespace qm::appkit {

/// The list of the items that would be moved, one a line with its size, with the sum of the sizes below. Hidden at
/// first. The disk is examined each time that the list is opened, and only then. Main thread only.
class PlanView {
 public:
  /// The controls are from the interface file. `area` contains the list and the summary. When it is opened, the window
  /// grows by its height.
  PlanView(NSView* area, NSTableView* list, NSTextField* summary);

  void open(bool isOpen);
  /// Shows the items for a removal of this kind.
  void setRemoveConfig(RemoveConfig removeConfig);
  /// The examination of the disk ends after the current item, and its results are not shown.
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

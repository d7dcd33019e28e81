// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Uninstaller/RemovalPlan.h"

/// The existing items that can be removed, including the preferences.
struct Preview {
  std::vector<PlannedItem> items;  ///< those that would be removed, in the order of removal
  std::size_t measured = 0;        ///< this many of them, from the first on, have their kind and size
};

/// One line of a preview, as a window shows it.
struct PreviewRow {
  std::string path;
  std::string size;  ///< "" while it is unknown, and for items that have none of their own, such as links

  bool operator==(const PreviewRow&) const = default;
};

/// The lines for a removal of this kind.
std::vector<PreviewRow> previewRows(const Preview& preview, RemoveConfig removeConfig);
/// Their number and the total size, in a few words of the user's language; without the size until all are measured.
std::string previewSummary(const Preview& preview, RemoveConfig removeConfig);

/// Determines in the background what can be removed. Changes nothing on the disk.
class RemovalPreview {
 public:
  /// Called on the main thread with what is known so far.
  using Show = std::function<void(const Preview&)>;
  /// Determines the kind and size of an item. Any thread.
  using Measure = std::function<void(PlannedItem&)>;

  explicit RemovalPreview(Show show, Measure measure = ::measure);
  RemovalPreview(const RemovalPreview&) = delete;
  RemovalPreview& operator=(const RemovalPreview&) = delete;
  ~RemovalPreview() { abandon(); }

  /// Main thread. Starts again, on a thread of its own: `show` gets the items, then each further size as it becomes
  /// known. If the system refuses a thread, `show` gets the items without sizes.
  void look();
  /// Main thread. From here on `show` is not called. The thread ends when it has measured the current item.
  void abandon();

 private:
  struct Look;

  Show show_;
  Measure measure_;
  std::shared_ptr<Look> look_;
};

#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Uninstaller/RemovalPlan.h"

/// What is there to be removed, the preferences among it.
struct Preview {
  std::vector<PlannedItem> items;  ///< those that would go, in the order in which they go
  std::size_t measured = 0;        ///< so many of them, from the first on, have their kind and size
};

/// One line of a preview, as a window shows it.
struct PreviewRow {
  std::string path;
  std::string size;  ///< "" while it is not known, and for what has none of its own, such as a link

  bool operator==(const PreviewRow&) const = default;
};

/// The lines for a removal of this kind.
std::vector<PreviewRow> previewRows(const Preview& preview, RemoveConfig removeConfig);
/// Their number and the size of all, in a few words; without the size until all are measured.
std::string previewSummary(const Preview& preview, RemoveConfig removeConfig);

/// Finds out what is there to be removed, beside the main thread. Changes nothing on the disk.
class RemovalPreview {
 public:
  /// Main thread: what has been found out so far.
  using Show = std::function<void(const Preview&)>;
  /// Gives an item its kind and size. Any thread.
  using Measure = std::function<void(PlannedItem&)>;

  explicit RemovalPreview(Show show, Measure measure = ::measure);
  RemovalPreview(const RemovalPreview&) = delete;
  RemovalPreview& operator=(const RemovalPreview&) = delete;
  ~RemovalPreview() { abandon(); }

  /// Main thread. Looks anew, on a thread of its own: `show` gets the items, then each further size as it is known.
  /// Where the system gives no thread, `show` gets the items without sizes.
  void look();
  /// Main thread. Nothing is shown from here on. The thread ends when it has measured the item that it is at.
  void abandon();

 private:
  struct Look;

  Show show_;
  Measure measure_;
  std::shared_ptr<Look> look_;
};

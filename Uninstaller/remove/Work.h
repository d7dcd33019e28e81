// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "Uninstaller/remove/Report.h"

namespace qm::removal {

/// What the command does with a list of items: it examines them, and then it moves them. `look` and `run` belong to one
/// worker thread; the other functions may be called by any.
class Work {
 public:
  /// Called before an item is moved: its path, its number in the sequence from 1, and how many there are.
  using Progress = std::function<void(const std::string& path, std::size_t number, std::size_t count)>;

  Work() = default;
  Work(const Work&) = delete;
  Work& operator=(const Work&) = delete;
  virtual ~Work() = default;

  /// Determines which items exist. Changes nothing.
  virtual void look() = 0;
  /// Moves the existing items. Begins no further item once `timeIsUp` returns true.
  virtual void run(const std::function<bool()>& timeIsUp, const Progress& progress) = 0;

  bool hasAnythingToDo() const;
  /// Every item with its result so far.
  std::vector<ReportItem> items() const;
  /// The same for a run that is abandoned: items that were not moved have stayed, because the time was up.
  std::vector<ReportItem> itemsWhenGivenUp() const;

 protected:
  /// Calls `move` for each item that is to be moved, in their sequence.
  void runThrough(const std::function<bool()>& timeIsUp, const Progress& progress,
                  const std::function<void(std::size_t index)>& move);
  void add(ReportItem item);
  void set(std::size_t index, const ReportItem& item);
  ReportItem item(std::size_t index) const;

 private:
  mutable std::mutex mutex_;  // guards the following members
  std::vector<ReportItem> items_;
};

}  // namespace qm::removal

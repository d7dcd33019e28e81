// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/Work.h"

#include <algorithm>
#include <utility>

#include "Uninstaller/Language.h"

namespace qm::removal {
namespace {

using uninstaller::catalogued;

constexpr const char* kNotBegun = catalogued("The time limit ended before its turn.");
constexpr const char* kNotGone = catalogued("The time limit ended before it was moved.");
constexpr const char* kNotBack = catalogued("The time limit ended before it was put back.");

void stay(ReportItem& item, const std::string& reason) {
  // An item that was to be put back is still in the Trash.
  if (item.outcome == Outcome::Goes) item.trashOf = std::nullopt;
  item.outcome = Outcome::Stayed;
  item.reason = reason;
}

}  // namespace

bool Work::hasAnythingToDo() const {
  const std::scoped_lock lock(mutex_);
  return std::ranges::any_of(items_, isToBeMoved);
}

std::vector<ReportItem> Work::items() const {
  const std::scoped_lock lock(mutex_);
  return items_;
}

std::vector<ReportItem> Work::itemsWhenGivenUp() const {
  std::vector<ReportItem> items = this->items();
  for (ReportItem& item : items) {
    if (isToBeMoved(item)) stay(item, item.outcome == Outcome::Goes ? kNotGone : kNotBack);
  }
  return items;
}

void Work::runThrough(const std::function<bool()>& timeIsUp, const Progress& progress,
                      const std::function<void(std::size_t index)>& move) {
  const std::size_t count = items().size();
  for (std::size_t index = 0; index < count; ++index) {
    ReportItem next = item(index);
    if (!isToBeMoved(next)) continue;
    if (timeIsUp()) {
      stay(next, kNotBegun);
      set(index, next);
      continue;
    }
    progress(next.path.value_or(""), index + 1, count);
    move(index);
  }
}

void Work::add(ReportItem item) {
  const std::scoped_lock lock(mutex_);
  items_.push_back(std::move(item));
}

void Work::set(std::size_t index, const ReportItem& item) {
  const std::scoped_lock lock(mutex_);
  items_[index] = item;
}

ReportItem Work::item(std::size_t index) const {
  const std::scoped_lock lock(mutex_);
  return items_[index];
}

}  // namespace qm::removal

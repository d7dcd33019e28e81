// SPDX-License-Identifier: MIT
#include "Uninstaller/RemovalRun.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <utility>

#include "Platform/AuthorizationServices.h"
#include "Platform/Platform.h"
#include "Platform/Trash.h"
#include "Shared/QMFileManager.h"
#include "Shared/QMLocalPaths.h"

using qm::platform::platform;

namespace {

constexpr std::chrono::seconds kTrashLimit(10);

}  // namespace

std::vector<ItemResult> stayedItems(const RemovalReport& report) {
  std::vector<ItemResult> stayed;
  std::ranges::copy_if(report.items, std::back_inserter(stayed),
                       [](const ItemResult& each) { return each.outcome == ItemOutcome::Stayed; });
  return stayed;
}

/// It is the newest item with that origin.
void findInTrash(ItemResult& result) {
  if (result.outcome != ItemOutcome::Trashed || !result.trashedTo.empty()) return;
  const auto found = platform().trash->itemsFrom(*result.planned.path, QMLocalPaths::trashDirectory());
  if (!found.items.empty()) result.trashedTo = found.items.front().path;
}

ItemResult RemovalRun::trash(PlannedItem item) {
  if (item.skip == SkipReason::None) item.skip = reasonToSkip(item.path);
  ItemResult result;
  result.planned = std::move(item);
  if (result.planned.skip == SkipReason::NotThere) result.outcome = ItemOutcome::Gone;
  if (result.planned.skip != SkipReason::None) return result;
  if (measured_ == Measured::Yes) measure(result.planned);
  if (observer_ != nullptr) observer_->begin();
  if (!QMFileManager::trashFile(*result.planned.path, kTrashLimit)) return stayed(std::move(result));
  result.outcome = ItemOutcome::Trashed;
  if (observer_ != nullptr) result.trashedTo = observer_->observations().trashedTo;
  return result;
}

/// The attempt as the user comes first. If rights were granted, their failure is the reason that counts.
ItemResult RemovalRun::stayed(ItemResult result) const {
  result.outcome = ItemOutcome::Stayed;
  if (observer_ == nullptr) return result;
  const Observations said = observer_->observations();
  result.notAuthorized = said.rightsRefused;
  result.error = said.plainError;
  const bool isPlain = said.privilegedReason.empty() || said.rightsRefused;
  result.reason = isPlain && !said.plainReason.empty() ? said.plainReason : said.privilegedReason;
  return result;
}

RemovalReport RemovalRun::removeProduct(RemoveConfig removeConfig) {
  RemovalReport report;
  for (const ProductItem& item : kProductItems) {
    PlannedItem planned;
    planned.item = &item;
    if (isWanted(item, removeConfig)) {
      planned.path = itemPath(item);
    } else {
      planned.skip = SkipReason::PreferencesStay;
    }
    report.items.push_back(trash(std::move(planned)));
  }
  if (const auto folder = makersFolderPath()) report.makersFolderRemoved = QMFileManager::removeFolderIfEmpty(*folder);
  platform().trash->makeDurable();
  // The run is reported as complete when this returns, so nothing may hold administrator rights any more.
  platform().authorizationServices->releaseRights();
  return report;
}

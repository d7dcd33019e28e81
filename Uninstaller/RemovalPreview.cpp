// SPDX-License-Identifier: MIT
#include "Uninstaller/RemovalPreview.h"

#include <cstdint>
#include <utility>

#include "Platform/MainThread.h"
#include "Platform/Platform.h"
#include "Platform/Threads.h"
#include "Platform/foundation/ControlCharacters.h"
#include "Uninstaller/Language.h"

using qm::platform::platform;
using qm::uninstaller::counted;
using qm::uninstaller::language;
using qm::uninstaller::sizeText;
using qm::uninstaller::translated;

struct RemovalPreview::Look {
  Look(Show toShow, Measure toMeasure) : show(std::move(toShow)), measure(std::move(toMeasure)) {}

  Show show;
  Measure measure;
  std::atomic<bool> abandoned = false;
};

namespace {

bool hasSize(const PlannedItem& item) { return item.kind == ItemKind::File || item.kind == ItemKind::Folder; }

PreviewRow rowOf(const PlannedItem& item, bool isMeasured) {
  return {.path = qm::foundation::replacingControlCharacters(item.path.value_or(""), '?'),
          .size = isMeasured && hasSize(item) ? sizeText(language(), item.bytes) : ""};
}

/// The existing items, including the preferences.
Preview whatIsThere() {
  Preview preview;
  for (const ProductItem& item : kProductItems) {
    PlannedItem planned = plannedItem(item, RemoveConfig::Yes);
    if (planned.skip == SkipReason::None) preview.items.push_back(std::move(planned));
  }
  return preview;
}

}  // namespace

std::vector<PreviewRow> previewRows(const Preview& preview, RemoveConfig removeConfig) {
  std::vector<PreviewRow> rows;
  for (std::size_t index = 0; index < preview.items.size(); ++index) {
    const PlannedItem& item = preview.items[index];
    if (isWanted(*item.item, removeConfig)) rows.push_back(rowOf(item, index < preview.measured));
  }
  return rows;
}

std::string previewSummary(const Preview& preview, RemoveConfig removeConfig) {
  std::size_t count = 0;
  std::uint64_t bytes = 0;
  for (const PlannedItem& item : preview.items) {
    if (!isWanted(*item.item, removeConfig)) continue;
    ++count;
    bytes += item.bytes;
  }
  if (count == 0) return translated("Nothing of Tessaly is here.");
  if (preview.measured < preview.items.size()) return counted(language(), count, "{count} item", "{count} items");
  return counted(language(), count, "{count} item, {size}", "{count} items, {size}",
                 {{"size", sizeText(language(), bytes)}});
}

RemovalPreview::RemovalPreview(Show show, Measure measure) : show_(std::move(show)), measure_(std::move(measure)) {}

void RemovalPreview::look() {
  abandon();
  look_ = std::make_shared<Look>(show_, measure_);
  const auto showOnMainThread = [look = look_](const Preview& preview) {
    platform().mainThread->perform([look, preview] {
      if (!look->abandoned) look->show(preview);
    });
  };
  const auto body = [look = look_, showOnMainThread] {
    Preview preview = whatIsThere();
    showOnMainThread(preview);
    while (preview.measured < preview.items.size() && !look->abandoned) {
      look->measure(preview.items[preview.measured++]);
      showOnMainThread(preview);
    }
  };
  if (!platform().threads->detachNewThread(body)) show_(whatIsThere());
}

void RemovalPreview::abandon() {
  if (look_) look_->abandoned = true;
  look_.reset();
}

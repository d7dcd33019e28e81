// SPDX-License-Identifier: MIT
#include "tests/contract/trash/TrashWorld.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace qm::testing {

std::vector<platform::TrashedItem> TrashWorld::itemsFrom(const std::string& origin) {
  platform::TrashedItems found = itemsFrom(origin, kTrashLink);
  EXPECT_TRUE(found.status) << found.status.localizedDescription();
  return found.items;
}

platform::Status TrashWorld::putBackNewest(const std::string& origin, platform::MissingFolders missing) {
  const std::vector<platform::TrashedItem> items = itemsFrom(origin);
  if (items.empty()) return platform::Status::failed(ENOENT, "Nothing from there is in the Trash.");
  return putBack(items.front(), kTrashLink, missing);
}

}  // namespace qm::testing

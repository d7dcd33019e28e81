// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <set>
#include <string_view>

#include "Platform/Clock.h"
#include "Platform/Trash.h"
#include "Platform/Users.h"
#include "Platform/macos/files/TrashNote.h"
#include "Platform/posix/rights/HeldPlace.h"

namespace qm::macos {

/// The system's Trash. Root moves into the Trash of the person meant by descriptor, and acts with that person's rights
/// on the way back wherever the person could lead the way elsewhere. Each item carries a note of where it came from,
/// where it takes one; one without is not found again.
class MacTrash final : public platform::Trash {
 public:
  /// Notes bear the product's name. Users and clock outlive it.
  MacTrash(const platform::Users& users, const platform::Clock& clock, std::string_view product)
      : users_(users), clock_(clock), notes_(product) {}

  platform::Recycled recycleItems(const std::string& sourceFolder, const std::optional<std::string>& trashDirectory,
                                  const std::vector<std::string>& names) override;
  platform::TrashedItems itemsFrom(const std::string& origin,
                                   const std::optional<std::string>& trashDirectory) override;
  platform::Status putBack(const platform::TrashedItem& item, const std::optional<std::string>& trashDirectory,
                           platform::MissingFolders missing) override;
  void makeDurable() override;

 private:
  std::vector<std::string> trashesFor(const std::string& origin, const std::optional<std::string>& own) const;
  void findIn(const std::string& trash, const std::string& origin, platform::TrashedItems& found) const;
  platform::Status recycleOne(const std::string& path, const std::string& trash, std::string& stored);
  static platform::Status recycleOwn(const std::string& path, std::string& stored);
  platform::Status recycleAsRoot(const posix::HeldItem& leaving, const std::string& path, const std::string& trash,
                                 std::string& stored) const;
  platform::Status moveBack(const platform::TrashedItem& item, platform::MissingFolders missing);
  void wasChanged(const posix::Place& place);

  const platform::Users& users_;
  const platform::Clock& clock_;
  const TrashNotes notes_;
  std::mutex mutex_;
  std::set<std::string> changed_;  // guarded: volumes that are not on the disk yet
};

}  // namespace qm::macos

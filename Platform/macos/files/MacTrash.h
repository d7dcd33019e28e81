// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <set>
#include <string_view>

#include "Platform/Clock.h"
#include "Platform/Console.h"
#include "Platform/Trash.h"
#include "Platform/Users.h"
#include "Platform/macos/files/TrashNote.h"
#include "Platform/posix/rights/HeldPlace.h"

namespace qm::macos {

/// The system's Trash. Root moves items by descriptor into the Trash of the user at the console. It puts an item back
/// with the rights of whoever could redirect one of the paths (see `RightsForPaths`). Each item gets a note, an
/// attribute with its old path, if its volume supports that. An item without a note is not found again. Changes that
/// could not be flushed to the disk are reported on the console.
class MacTrash final : public platform::Trash {
 public:
  /// The name of the notes' attribute contains the product's name. The services must outlive this object.
  MacTrash(const platform::Users& users, const platform::Clock& clock, platform::Console& console,
           std::string_view product)
      : users_(users), clock_(clock), console_(console), notes_(product) {}

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
  bool mayBeNoted(const posix::HeldItem& item) const;
  static platform::Status recycleOwn(const std::string& path, std::string& stored);
  platform::Status recycleAsRoot(const posix::HeldItem& leaving, const std::string& path, const std::string& trash,
                                 std::string& stored) const;
  platform::Status moveBack(const platform::TrashedItem& item, platform::MissingFolders missing);
  void wasChanged(const posix::Place& place);

  const platform::Users& users_;
  const platform::Clock& clock_;
  platform::Console& console_;
  const TrashNotes notes_;
  std::mutex mutex_;
  std::set<std::string> changed_;  // guarded by mutex_: volumes that have to be flushed
};

}  // namespace qm::macos

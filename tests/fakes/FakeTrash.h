// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Platform/Trash.h"
#include "tests/fakes/Calls.h"
#include "tests/fakes/FakeClock.h"
#include "tests/fakes/FakeDisk.h"
#include "tests/fakes/FakeUsers.h"

namespace qm::testing {

/// A Trash on the fake disk, with the layout of freedesktop.org: HOME/.local/share/Trash, where HOME contains the given
/// `trashDirectory`, and .Trash-NUMBER at the top of other volumes, each with files/ and info/. A name that is taken
/// becomes "name 2.ext", "name 3.ext" and so on. ~/.Trash is created as a relative link to the home trash's files if
/// nothing is there. Recorded as "trash.recycle(/folder, /home/u/.Trash, name)", "trash.itemsFrom(/folder/name,
/// /home/u/.Trash)" and "trash.putBack(/home/u/.local/share/Trash/files/name, /home/u/.Trash, NO)", where YES creates
/// missing folders.
class FakeTrash : public platform::Trash {
 public:
  FakeTrash(Calls& calls, FakeDisk& disk, const FakeClock& clock, const FakeUsers& users)
      : calls_(calls), disk_(disk), clock_(clock), users_(users) {}

  platform::Recycled recycleItems(const std::string& sourceFolder, const std::optional<std::string>& trashDirectory,
                                  const std::vector<std::string>& names) override;
  platform::TrashedItems itemsFrom(const std::string& origin,
                                   const std::optional<std::string>& trashDirectory) override;
  platform::Status putBack(const platform::TrashedItem& item, const std::optional<std::string>& trashDirectory,
                           platform::MissingFolders missing) override;
  /// Recorded as "trash.makeDurable()".
  void makeDurable() override { calls_.command("trash.makeDurable"); }

 private:
  std::optional<std::string> realFolder(const std::string& folder);
  int recycleOne(const std::string& folder, const std::string& name, const std::string& trashDirectory,
                 std::vector<std::string>& paths);
  int prepare(const std::string& trash, const std::string& home, const std::string& trashDirectory);
  std::string freeName(const std::string& trash, const std::string& name);
  std::string realPath(const std::string& path);
  std::vector<platform::TrashedItem> itemsIn(const std::string& trash, const std::string& top,
                                             const std::string& origin);
  std::vector<platform::TrashedItem> findItems(const std::string& origin, const std::string& trashDirectory);
  int returnItem(const platform::TrashedItem& item, const std::string& trashDirectory,
                 platform::MissingFolders missing);
  std::string information(const std::string& path, const std::string& top) const;

  Calls& calls_;
  FakeDisk& disk_;
  const FakeClock& clock_;
  const FakeUsers& users_;
};

}  // namespace qm::testing

// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Uninstaller/RemovalRun.h"
#include "Uninstaller/remove/Persons.h"
#include "Uninstaller/remove/RunRecordFile.h"
#include "Uninstaller/remove/Work.h"
#include "Uninstaller/remove/WorkingFor.h"

namespace qm::removal {

/// The product's items of all selected users, and of the computer: which exist, and their removal.
class Removal final : public Work {
 public:
  /// The installed services must be those of `observer`, with `users` as the service for users. Both must outlive this
  /// object. `launchControlTool` ends launch agents; "" if the system starts none.
  Removal(WorkingFor& users, RemovalObserver& observer, Concerned concerned, RemoveConfig removeConfig,
          std::string launchControlTool);

  void look() override;
  /// Moves the existing items, and then removes the maker's folder.
  void run(const std::function<bool()>& timeIsUp, const Progress& progress) override;

  /// The record of what `run` is going to do. Call it after `look`. Null if the maker's folder cannot be examined.
  std::optional<RunRecord> toRemember();
  /// From now on `run` records there what it does. `memory` must outlive this object.
  void rememberIn(const RunRecordFile& memory) { memory_ = &memory; }

 private:
  /// One item, with its user and the user whose Trash it goes to.
  struct Part {
    PlannedItem planned;
    std::optional<posix::UserRecord> person;
    std::string trashOf;
    std::optional<std::size_t> remembered;  ///< its number in the record
  };

  void lookAt(const ProductItem& item, const std::optional<posix::UserRecord>& person, const std::string& trashOf);
  void lookAtMakersFolder();
  void move(std::size_t index);
  void removeMakersFolder();
  RememberedItem rememberedItem(const Part& part) const;
  void remember(const std::string& line) const;

  WorkingFor& users_;
  RemovalObserver& observer_;
  const Concerned concerned_;
  const RemoveConfig removeConfig_;
  const std::string launchControlTool_;
  std::vector<Part> parts_;
  std::optional<std::string> makersFolder_;
  const RunRecordFile* memory_ = nullptr;
};

}  // namespace qm::removal

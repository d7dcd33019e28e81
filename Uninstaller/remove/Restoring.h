// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Trash.h"
#include "Platform/posix/rights/UserDatabase.h"
#include "Uninstaller/remove/RunRecordFile.h"
#include "Uninstaller/remove/Work.h"
#include "Uninstaller/remove/WorkingFor.h"

namespace qm::removal {

/// The last run that changed something: which of its items are in the Trash, and how they are put back.
///
/// Each item is moved with the rights of the user whose Trash it is in. What a user could have changed in the Trash is
/// put only where that user may put things anyway. For root, the computer's items come only from root's own Trash.
class Restoring final : public Work {
 public:
  /// What root has to know about users.
  struct Persons {
    std::function<std::optional<posix::UserRecord>(const std::string& name)> named;
    /// Whether the user may put something at the path, or into the last existing folder on the way to it.
    std::function<bool(const posix::UserRecord& person, const std::string& path)> mayPutAt;
  };

  /// Users and memory must outlive this object.
  Restoring(WorkingFor& users, RunRecordFile& memory, std::vector<RunRecord> runs, Persons persons);

  void look() override;
  /// Creates the maker's folder again, puts back what it can, and deletes the record when everything is back.
  void run(const std::function<bool()>& timeIsUp, const Progress& progress) override;

 private:
  /// One item of the run, with its location in the Trash.
  struct Part {
    std::size_t index = 0;
    RememberedItem item;
    std::optional<platform::TrashedItem> stored;
  };

  bool isOfUse(const RunRecord& run) const;
  void lookAt(std::size_t index, const RememberedItem& item);
  void lookAtFolder();
  ReportItem shownFor(const Part& part) const;
  std::string obstacle(const RememberedItem& item) const;
  std::string obstacleForRoot(const RememberedItem& item) const;
  bool isOfProduct(const RememberedItem& item) const;
  std::optional<platform::TrashedItem> find(const RememberedItem& item, const RunRecord& run,
                                            std::string* problem) const;
  void measureInTrash(const Part& part, ReportItem& shown) const;
  void putBack(std::size_t position);
  void makeFolder(std::size_t position);
  bool isInFolder(const ReportItem& item) const;
  void end();

  WorkingFor& users_;
  RunRecordFile& memory_;
  const std::vector<RunRecord> runs_;
  const Persons persons_;
  RunRecord run_;
  bool hasFolder_ = false;  ///< the first item is the maker's folder
  std::vector<Part> parts_;
};

/// The users of this computer.
Restoring::Persons systemPersons();

}  // namespace qm::removal

#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Uninstaller/RemovalRun.h"
#include "Uninstaller/remove/Persons.h"
#include "Uninstaller/remove/Report.h"
#include "Uninstaller/remove/WorkingFor.h"

namespace qm::removal {

/// The product's items of everybody concerned, and of the computer: what is there, and how it goes. `look` and `run`
/// belong to one worker thread; the rest may be asked by any.
class Removal {
 public:
  /// Told before an item is moved: its path, its place in the sequence from 1, and how many there are.
  using Progress = std::function<void(const std::string& path, std::size_t number, std::size_t count)>;

  /// The installed services are the witness's, with these users among them. Both outlive this object.
  Removal(WorkingFor& users, RemovalWitness& witness, Concerned concerned, RemoveConfig removeConfig);

  /// Finds out what is there. Changes nothing.
  void look();
  bool hasAnythingToDo() const;
  /// Moves what is there, and then the maker's folder. Begins no further item once `timeIsUp`.
  void run(const std::function<bool()>& timeIsUp, const Progress& progress);

  /// Every item with what has become of it so far.
  std::vector<ReportItem> items() const;
  /// The same for a run that is given up: what has not gone has stayed, because the time was up.
  std::vector<ReportItem> itemsWhenGivenUp() const;

 private:
  /// One item, with whom it is of and whose Trash it goes to.
  struct Part {
    PlannedItem planned;
    std::optional<linux_::UserRecord> person;
    std::string trashOf;
  };

  void lookAt(const ProductItem& item, const std::optional<linux_::UserRecord>& person, const std::string& trashOf);
  void lookAtMakersFolder();
  void measureWithRightsOf(const std::optional<linux_::UserRecord>& person, PlannedItem& item) const;
  void move(std::size_t index);
  void removeMakersFolder();
  void set(std::size_t index, const ReportItem& item);
  ReportItem item(std::size_t index) const;
  bool isToGo(std::size_t index) const;
  void stay(std::size_t index, const std::string& reason);

  WorkingFor& users_;
  RemovalWitness& witness_;
  const Concerned concerned_;
  const RemoveConfig removeConfig_;
  std::vector<Part> parts_;
  std::optional<std::string> makersFolder_;

  mutable std::mutex mutex_;       // guards what follows
  std::vector<ReportItem> items_;  // of the parts, then the maker's folder
};

}  // namespace qm::removal

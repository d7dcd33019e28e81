#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Uninstaller/RemovalRun.h"
#include "Uninstaller/remove/Persons.h"
#include "Uninstaller/remove/RunMemory.h"
#include "Uninstaller/remove/Work.h"
#include "Uninstaller/remove/WorkingFor.h"

namespace qm::removal {

/// The product's items of everybody concerned, and of the computer: what is there, and how it goes.
class Removal final : public Work {
 public:
  /// The installed services are the witness's, with these users among them. Both outlive this object.
  Removal(WorkingFor& users, RemovalWitness& witness, Concerned concerned, RemoveConfig removeConfig);

  void look() override;
  /// Moves what is there, and then the maker's folder.
  void run(const std::function<bool()>& timeIsUp, const Progress& progress) override;

  /// What `run` is going to do, for the way back. After `look`. Null where the maker's folder cannot be looked at.
  std::optional<RememberedRun> toRemember();
  /// What `run` does is noted there from now on. It outlives this object.
  void rememberIn(const RunMemory& memory) { memory_ = &memory; }

 private:
  /// One item, with whom it is of and whose Trash it goes to.
  struct Part {
    PlannedItem planned;
    std::optional<posix::UserRecord> person;
    std::string trashOf;
    std::optional<std::size_t> remembered;  ///< its number among what is remembered
  };

  void lookAt(const ProductItem& item, const std::optional<posix::UserRecord>& person, const std::string& trashOf);
  void lookAtMakersFolder();
  void move(std::size_t index);
  void removeMakersFolder();
  RememberedItem rememberedItem(const Part& part) const;
  void remember(const std::string& line) const;

  WorkingFor& users_;
  RemovalWitness& witness_;
  const Concerned concerned_;
  const RemoveConfig removeConfig_;
  std::vector<Part> parts_;
  std::optional<std::string> makersFolder_;
  const RunMemory* memory_ = nullptr;
};

}  // namespace qm::removal

#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <utility>

#include "Platform/linux/privileges/helper/Refusal.h"
#include "Platform/linux/privileges/helper/Staging.h"
#include "Platform/linux/privileges/helper/TrashHandover.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// Moves what a tool made in a staging folder into its place.
class Publication {
 public:
  Publication(posix::UniqueFd folder, std::string name) : folder_(std::move(folder)), name_(std::move(name)) {}
  Publication(const Publication&) = delete;
  Publication& operator=(const Publication&) = delete;
  ~Publication() = default;

  /// Makes the staging folder. Nil when it stands.
  std::optional<Refusal> prepare();
  /// Items for this person's Trash are handed over to him; `origin` is the place that they came from.
  void handOverTo(uid_t person, std::string origin);

  int folder() const { return folder_.get(); }
  int stagingFolder() const { return staging_->folder(); }

  /// After the tool: hands over and publishes what is there. A file in the item's place is replaced. In a Trash
  /// nothing is: whatever has the name by then, or is described under it, stays, and the item gets a place beside
  /// it. A sentence when something went wrong; the item is never lost.
  std::string finish() const;

 private:
  std::string publishInPlace() const;
  std::string publishInTrash() const;
  int publishDescribed(const std::string& name, int* described) const;
  std::string notPublished(int error, const std::string& where) const;
  std::string arrived(const std::string& name, int problem) const;

  posix::UniqueFd folder_;
  std::string name_;
  std::string origin_;
  std::optional<TrashHandover> trash_;
  std::optional<Staging> staging_;
};

}  // namespace qm::linux_

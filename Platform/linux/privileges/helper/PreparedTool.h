#pragma once

#include <sys/types.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/linux/privileges/helper/Confinement.h"
#include "Platform/linux/privileges/helper/Refusal.h"
#include "Platform/linux/privileges/helper/Staging.h"
#include "Platform/linux/privileges/helper/TrashHandover.h"
#include "Platform/linux/privileges/protocol/Messages.h"
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

  /// After the tool: hands over and publishes what is there. A sentence when something went wrong.
  std::string finish() const;

 private:
  std::string handOver() const;
  std::string publishBeside() const;

  posix::UniqueFd folder_;
  std::string name_;
  std::string origin_;
  std::optional<TrashHandover> trash_;
  std::optional<Staging> staging_;
};

/// A tool that is ready to be started by root: its operands reach the items that they meant when they were
/// looked at, whatever others do to the folders on the way.
struct PreparedTool {
  std::string program;
  /// With the name of the tool first.
  std::vector<std::string> arguments;
  /// The tool inherits these, under their numbers.
  std::vector<posix::UniqueFd> pinned;
  std::unique_ptr<Confinement> confinement;
  std::unique_ptr<Publication> publication;
  /// Pinned paths and what they stand for, for messages.
  std::vector<std::pair<std::string, std::string>> shown;

  /// A message of the tool's in terms of the paths that were asked for.
  std::string inAskedPaths(std::string message) const;
};

/// Looks at a launch for `person`. The operands of mv, cp, rm, mkdir and touch are pinned; any other
/// program is started as asked. A program that others than root can change is refused.
Answer<PreparedTool> prepareTool(const Launch& launch, uid_t person);

}  // namespace qm::linux_

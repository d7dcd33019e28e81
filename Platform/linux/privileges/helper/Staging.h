#pragma once

#include <string>

#include "Platform/linux/privileges/helper/Refusal.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// A folder of root's alone inside a folder that others can change: there a tool works undisturbed, and
/// what it has made is then moved into place in one step. Removed at the end.
class Staging {
 public:
  /// `folder` outlives the staging.
  static Answer<Staging> make(int folder);

  Staging(Staging&&) = default;
  Staging& operator=(Staging&&) = delete;
  Staging(const Staging&) = delete;
  Staging& operator=(const Staging&) = delete;
  ~Staging();

  int folder() const { return fd_.get(); }

  /// Moves what the tool made as `name` into the folder above. A file there is replaced, also when it is a
  /// link or has other names elsewhere. Answers 0 or an error number.
  int publish(const std::string& name) const;
  /// The same under another name, where nothing is replaced: a name that is taken gives EEXIST.
  int publishAs(const std::string& name, const std::string& newName) const;

 private:
  Staging(int above, std::string own, posix::UniqueFd fd) : above_(above), own_(std::move(own)), fd_(std::move(fd)) {}

  int above_;
  std::string own_;
  posix::UniqueFd fd_;
};

}  // namespace qm::linux_

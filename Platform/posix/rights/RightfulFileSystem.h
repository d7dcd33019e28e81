// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Users.h"
#include "Platform/posix/FileMessages.h"
#include "Platform/posix/PosixFileSystem.h"

namespace qm::posix {

/// The plain file operations. A root process makes changes with the rights of whoever could redirect the path (see
/// `RightsForPaths`). So what it creates in a user's folders belongs to that user, and a link there leads it nowhere
/// that the user could not go. If root is the user meant and others could redirect the path, nothing is changed; only
/// `removeHollowFolder` is done all the same, because it goes by the place and not by the path. The users outlive it.
class RightfulFileSystem final : public PosixFileSystem {
 public:
  explicit RightfulFileSystem(const platform::Users& users) : users_(users) {}

  platform::Status moveItem(const std::string& source, const std::string& destination) override;
  platform::Status linkItem(const std::string& source, const std::string& destination) override;
  platform::Status copyItem(const std::string& source, const std::string& destination) override;
  platform::Status createDirectory(const std::string& path) override;
  platform::Status removeItem(const std::string& path) override;
  platform::Status removeHollowFolder(const std::string& path, const std::vector<std::string>& expendable) override;
  platform::Status setCreationDate(const std::string& path, std::chrono::system_clock::time_point date) override;
  platform::Status writeFileAtomically(const std::string& path, std::string_view contents) override;
  std::shared_ptr<platform::FileHandle> openForWriting(const std::string& path) override;

 private:
  /// Makes `change` with the rights for its paths; the second path is a destination, or "".
  platform::Status withRights(FileOperation operation, const std::string& path, const std::string& destination,
                              const std::function<platform::Status()>& change) const;

  const platform::Users& users_;
};

}  // namespace qm::posix

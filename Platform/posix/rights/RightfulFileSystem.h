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
/// that the user could not go. If several users could redirect the path and root itself is at the console, nothing is
/// changed. Only `removeHollowFolder` works even then, because it uses the folder that it has opened and not the path.
/// The users must outlive this object.
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
  /// Calls `change` with the rights for both paths. `destination` is "" if there is only one path.
  platform::Status withRights(FileAction action, const std::string& path, const std::string& destination,
                              const std::function<platform::Status()>& change) const;

  const platform::Users& users_;
};

}  // namespace qm::posix

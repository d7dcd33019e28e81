// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "Platform/DesktopShell.h"
#include "Platform/FileReferences.h"
#include "Platform/Tasks.h"
#include "Platform/Users.h"
#include "Platform/linux/desktop/DesktopEntry.h"
#include "Platform/linux/trash/TrashUser.h"

namespace qm::linux_ {

/// The freedesktop.org desktop of the process's user; as root, of the user at the console, with that user's rights. The
/// services outlive it.
///
/// An update notice is a signal on the session's message bus. File managers that do not watch folders themselves then
/// read the folder again. An application is registered by an entry in the user's applications folder, named after the
/// bundle's identifier: of several copies of one application, the last registered is the one in the menu. An entry that
/// this class did not create is never replaced.
class LinuxDesktopShell : public platform::DesktopShell {
 public:
  static constexpr std::chrono::milliseconds kBusLimit{3000};

  /// Reads the environment once, here. `mark` identifies the entries created here; `busLimit` is how long a bus may
  /// take to answer.
  LinuxDesktopShell(const platform::Users& users, platform::Tasks& tasks, const EntryMark& mark,
                    std::chrono::milliseconds busLimit = kBusLimit);

  platform::OSStatus newMinimalAlias(const platform::FileReference& reference,
                                     std::unique_ptr<platform::Alias>* alias) override;
  platform::OSStatus sendUpdateEvent(const platform::Alias& alias) override;
  platform::OSStatus registerApplication(const std::string& path) override;

 private:
  std::string busAddressOf(const TrashUser& person) const;
  void updateDatabase(const std::string& folder, const TrashUser& person);

  const platform::Users& users_;
  platform::Tasks& tasks_;
  const EntryMark mark_;
  const std::chrono::milliseconds busLimit_;
  const std::optional<std::string> dataHome_;
  const std::optional<std::string> busAddress_;
  const std::optional<std::string> runtimeFolder_;
};

}  // namespace qm::linux_

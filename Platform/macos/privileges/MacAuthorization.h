// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Platform/AuthorizationServices.h"
#include "Platform/Console.h"
#include "Platform/posix/process/ToolOutput.h"

namespace qm::macos {

/// The system's Authorization Services. The tools that they start follow paths and remove even what only root can see.
/// So this class limits the tools in two ways:
///
/// - If a folder is to be removed only if it is empty, the tool gets the paths of the items that were found in it. It
///   never removes what is added meanwhile. If the folder cannot be shown to be empty, nothing is removed and no
///   password is requested. Until `expectHollowFolder("")` ends this, `/bin/rm` is started for nothing else.
/// - A process run by root starts no tool on a path that others could redirect.
class MacAuthorization final : public platform::AuthorizationServices {
 public:
  /// The console must outlive this object.
  explicit MacAuthorization(platform::Console& console);
  MacAuthorization(const MacAuthorization&) = delete;
  MacAuthorization& operator=(const MacAuthorization&) = delete;
  ~MacAuthorization() override = default;

  platform::AuthorizationStatus create(const platform::AuthorizationItems& environment,
                                       platform::AuthorizationFlags flags,
                                       platform::AuthorizationRef* session) override;
  void announce(const std::string& tool, const std::vector<std::string>& arguments) override;
  void expectHollowFolder(const std::string& folder) override;
  platform::AuthorizationStatus copyRights(platform::AuthorizationRef session,
                                           const platform::AuthorizationItems& rights,
                                           const platform::AuthorizationItems& environment,
                                           platform::AuthorizationFlags flags) override;
  platform::AuthorizationStatus free(platform::AuthorizationRef session, platform::AuthorizationFlags flags) override;
  platform::AuthorizationStatus executeWithPrivileges(platform::AuthorizationRef session, const std::string& tool,
                                                      platform::AuthorizationFlags flags,
                                                      const std::vector<std::string>& arguments,
                                                      std::shared_ptr<platform::CommunicationsPipe>* pipe) override;
  void releaseRights() override;
  platform::ToolCommand commandForRoot(const std::string& tool, const std::vector<std::string>& arguments) override;
  platform::AuthorizationStatus copyPrivilegedReference(platform::AuthorizationRef* session,
                                                        platform::AuthorizationFlags flags) override;

 private:
  /// A session of the system. Callers get a handle of this object, which no other session gets later. The system's own
  /// handle may refer to another session once it has been freed.
  struct Session {
    platform::AuthorizationRef system = nullptr;  // null when its rights have been released
    platform::AuthorizationFlags atRelease = 0;   // the option with which it is freed then
  };

  platform::AuthorizationRef keep(const Session& session);
  /// The system's session; null if there is none, or if its rights have been released.
  platform::AuthorizationRef systems(platform::AuthorizationRef session);
  std::shared_ptr<platform::CommunicationsPipe> keepOutput(std::FILE* output);
  /// The arguments that the tool is to be started with. Null if it must not be started; this prints a message that says
  /// so.
  std::optional<std::vector<std::string>> argumentsToUse(const std::string& tool,
                                                         const std::vector<std::string>& arguments);

  platform::Console& console_;
  std::mutex inUse_;  // held while the system uses a session, so that it is not freed meanwhile; locked before mutex_
  std::mutex mutex_;
  std::string hollowFolder_;                                 // guarded by mutex_
  std::uintptr_t lastSession_ = 0;                           // guarded by mutex_
  std::map<platform::AuthorizationRef, Session> sessions_;   // guarded by mutex_
  std::vector<std::shared_ptr<posix::ToolOutput>> outputs_;  // guarded by mutex_: of tools that may still run
  std::atomic<bool> nextIsRefused_ = false;                  // the tool that was announced must not be started
};

}  // namespace qm::macos

// SPDX-License-Identifier: MIT
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/macos/MacServices.h"
#include "Platform/macos/SystemCalls.h"
#include "Platform/posix/HollowFolder.h"
#include "Platform/posix/process/NoPipeMeanwhile.h"
#include "Platform/posix/process/ToolOutput.h"
#include "Platform/posix/rights/ToolRefusal.h"

namespace qm::macos {
namespace {

using namespace platform;  // the names of Authorization Services are long enough as they are

constexpr const char* kRemove = "/bin/rm";
/// Started in place of a tool that is refused: it does nothing and fails.
constexpr const char* kNothing = "/usr/bin/false";

class MacAuthorization final : public AuthorizationServices {
 public:
  explicit MacAuthorization(Console& console) : console_(console) {}

  AuthorizationStatus create(const AuthorizationItems& environment, AuthorizationFlags flags,
                             AuthorizationRef* session) override {
    *session = nullptr;
    if (nextIsRefused_.exchange(false)) return errAuthorizationDenied;
    // Without a way to start a tool nobody is asked for a password.
    if (!canExecute()) return errAuthorizationToolExecuteFailure;
    AuthorizationRef made = nullptr;
    const AuthorizationStatus status = createSession(environment, flags, &made);
    if (status == errAuthorizationSuccess) *session = keep({made, kDestroyRights});
    return status;
  }

  void announce(const std::string& tool, const std::vector<std::string>& arguments) override {
    nextIsRefused_ = !argumentsToUse(tool, arguments);
  }

  void expectHollowFolder(const std::string& folder) override {
    const std::scoped_lock lock(mutex_);
    hollowFolder_ = folder;
  }

  AuthorizationStatus copyRights(AuthorizationRef session, const AuthorizationItems& rights,
                                 const AuthorizationItems& environment, AuthorizationFlags flags) override {
    const std::scoped_lock used(inUse_);
    auto* const found = systems(session);
    return found == nullptr ? errAuthorizationInvalidRef : copySessionRights(found, rights, environment, flags);
  }

  AuthorizationStatus free(AuthorizationRef session, AuthorizationFlags flags) override {
    Session ended;
    {
      const std::scoped_lock lock(inUse_, mutex_);
      const auto found = sessions_.find(session);
      if (found == sessions_.end()) return errAuthorizationInvalidRef;
      ended = found->second;
      sessions_.erase(found);
    }
    return ended.system == nullptr ? errAuthorizationSuccess : freeSession(ended.system, flags);
  }

  AuthorizationStatus executeWithPrivileges(AuthorizationRef session, const std::string& tool, AuthorizationFlags flags,
                                            const std::vector<std::string>& arguments,
                                            std::shared_ptr<CommunicationsPipe>* pipe) override {
    if (!canExecute()) return errAuthorizationToolExecuteFailure;
    const std::scoped_lock used(inUse_);
    auto* const rightful = systems(session);
    if (rightful == nullptr) return errAuthorizationInvalidRef;
    const auto passed = argumentsToUse(tool, arguments);
    if (!passed) return errAuthorizationDenied;
    std::FILE* output = nullptr;
    const auto lock = posix::noPipeMeanwhile();
    const AuthorizationStatus status = executeWithRights(rightful, tool, flags, *passed, &output);
    if (status != errAuthorizationSuccess || output == nullptr) return status;
    auto kept = keepOutput(output);
    if (pipe != nullptr) *pipe = std::move(kept);
    return status;
  }

  /// Also waits for tools whose output nobody reads.
  void releaseRights() override {
    std::vector<std::shared_ptr<posix::ToolOutput>> outputs;
    std::vector<Session> ended;
    {
      const std::scoped_lock lock(inUse_, mutex_);
      std::swap(outputs, outputs_);
      for (auto& [handle, session] : sessions_) ended.push_back(std::exchange(session, Session()));
    }
    for (const auto& output : outputs) output->waitForEnd();
    std::erase_if(ended, [](const Session& session) { return session.system == nullptr; });
    for (const Session& session : ended) static_cast<void>(freeSession(session.system, session.atRelease));
  }

  ToolCommand commandForRoot(const std::string& tool, const std::vector<std::string>& arguments) override {
    const auto passed = argumentsToUse(tool, arguments);
    if (!passed) return {kNothing, {}};
    const std::string refusal = posix::refusalForRoot(tool, *passed);
    if (refusal.empty()) return {tool, *passed};
    console_.print(tool + " is not started as root: " + refusal + ".");
    return {kNothing, {}};
  }

  AuthorizationStatus copyPrivilegedReference(AuthorizationRef* session, AuthorizationFlags flags) override {
    AuthorizationRef handed = nullptr;
    const AuthorizationStatus status = copySessionOfParent(&handed, flags);
    const bool isThere = status == errAuthorizationSuccess && handed != nullptr;
    // The parent goes on using its rights.
    *session = isThere ? keep({handed, kAuthorizationFlagDefaults}) : nullptr;
    return status;
  }

 private:
  /// A session of the system. Callers get a handle of this object, which no other session gets later. The system's own
  /// handle may refer to another session once it has been freed.
  struct Session {
    AuthorizationRef system = nullptr;  // null when its rights have been released
    AuthorizationFlags atRelease = 0;   // the option with which it is freed then
  };

  /// The arguments that the tool is to be started with. Null if it must not be started; this prints a message that says
  /// so.
  std::optional<std::vector<std::string>> argumentsToUse(const std::string& tool,
                                                         const std::vector<std::string>& arguments) {
    const std::scoped_lock lock(mutex_);
    if (tool != kRemove || hollowFolder_.empty()) return arguments;
    if (arguments.empty() || arguments.back() != hollowFolder_) {
      console_.print(tool + " is not started: now it may remove nothing but the empty folder " + hollowFolder_ + ".");
      return std::nullopt;
    }
    auto items = posix::pathsInHollowFolder(hollowFolder_, posix::isHousekeeping);
    if (!items) {
      console_.print(hollowFolder_ + " stays: it can’t be shown that nothing is in it.");
      return std::nullopt;
    }
    items->insert(items->begin(), "-df");  // removes each item by itself, and a folder only if it is empty
    return items;
  }

  AuthorizationRef keep(const Session& session) {
    const std::scoped_lock lock(mutex_);
    auto* const handle = reinterpret_cast<AuthorizationRef>(++lastSession_);  // NOLINT(performance-no-int-to-ptr)
    sessions_[handle] = session;
    return handle;
  }

  /// The system's session; null if there is none, or if its rights have been released.
  AuthorizationRef systems(AuthorizationRef session) {
    const std::scoped_lock lock(mutex_);
    const auto found = sessions_.find(session);
    return found == sessions_.end() ? nullptr : found->second.system;
  }

  std::shared_ptr<CommunicationsPipe> keepOutput(std::FILE* output) {
    auto kept = std::make_shared<posix::ToolOutput>(output);
    const std::scoped_lock lock(mutex_);
    std::erase_if(outputs_, [](const auto& other) { return other->hasEnded(); });
    outputs_.push_back(kept);
    return kept;
  }

  Console& console_;
  std::mutex inUse_;  // held while the system uses a session, so that it is not freed meanwhile; locked before mutex_
  std::mutex mutex_;
  std::string hollowFolder_;                                 // guarded by mutex_
  std::uintptr_t lastSession_ = 0;                           // guarded by mutex_
  std::map<AuthorizationRef, Session> sessions_;             // guarded by mutex_
  std::vector<std::shared_ptr<posix::ToolOutput>> outputs_;  // guarded by mutex_: of tools that may still run
  std::atomic<bool> nextIsRefused_ = false;                  // the tool that was announced must not be started
};

}  // namespace

std::unique_ptr<platform::AuthorizationServices> makeAuthorization(platform::Console& console) {
  return std::make_unique<MacAuthorization>(console);
}

}  // namespace qm::macos

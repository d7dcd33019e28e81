// SPDX-License-Identifier: MIT
#include "Platform/macos/privileges/MacAuthorization.h"

#include <utility>

#include "Platform/foundation/PathComponents.h"
#include "Platform/macos/privileges/AuthorizationCalls.h"
#include "Platform/posix/HollowFolder.h"
#include "Platform/posix/ItemPath.h"
#include "Platform/posix/process/NoPipeMeanwhile.h"
#include "Platform/posix/rights/ToolRefusal.h"

namespace qm::macos {
namespace {

using namespace platform;  // the names of Authorization Services are long enough as they are

constexpr const char* kRemove = "/bin/rm";
/// Started in place of a tool that is refused: it does nothing and fails.
constexpr const char* kNothing = "/usr/bin/false";

/// Lists a folder that contains only folders and the Finder's files: every path before that of the folder that contains
/// it, the folder itself last. Null if it contains anything else, or if that cannot be determined.
std::optional<std::vector<std::string>> hollowItemsAt(const std::string& folder) {
  posix::Place place;
  if (posix::openPlace(folder, place) != 0) return std::nullopt;
  auto items = posix::hollowFolderItems(place.folder.get(), place.name, posix::isHousekeeping);
  if (!items) return std::nullopt;
  const std::string above = foundation::deletingLastPathComponent(folder);
  for (std::string& item : *items) item = foundation::appendingPathComponent(above, item);
  return items;
}

}  // namespace

MacAuthorization::MacAuthorization(platform::Console& console) : console_(console) {}

AuthorizationStatus MacAuthorization::create(const AuthorizationItems& environment, AuthorizationFlags flags,
                                             AuthorizationRef* session) {
  *session = nullptr;
  if (nextIsRefused_.exchange(false)) return errAuthorizationDenied;
  // Without a way to start a tool nobody is asked for a password.
  if (!canExecute()) return errAuthorizationToolExecuteFailure;
  AuthorizationRef made = nullptr;
  const AuthorizationStatus status = createSession(environment, flags, &made);
  if (status == errAuthorizationSuccess) *session = keep({made, kDestroyRights});
  return status;
}

void MacAuthorization::announce(const std::string& tool, const std::vector<std::string>& arguments) {
  nextIsRefused_ = !argumentsToUse(tool, arguments);
}

void MacAuthorization::expectHollowFolder(const std::string& folder) {
  const std::scoped_lock lock(mutex_);
  hollowFolder_ = folder;
}

std::optional<std::vector<std::string>> MacAuthorization::argumentsToUse(const std::string& tool,
                                                                         const std::vector<std::string>& arguments) {
  const std::scoped_lock lock(mutex_);
  if (tool != kRemove || hollowFolder_.empty()) return arguments;
  if (arguments.empty() || arguments.back() != hollowFolder_) {
    console_.print(tool + " is not started: now it may remove nothing but the empty folder " + hollowFolder_ + ".");
    return std::nullopt;
  }
  auto items = hollowItemsAt(hollowFolder_);
  if (!items) {
    console_.print(hollowFolder_ + " stays: it can’t be shown that nothing is in it.");
    return std::nullopt;
  }
  items->insert(items->begin(), "-df");  // removes each item by itself, and a folder only if it is empty
  return items;
}

AuthorizationStatus MacAuthorization::copyRights(AuthorizationRef session, const AuthorizationItems& rights,
                                                 const AuthorizationItems& environment, AuthorizationFlags flags) {
  const std::scoped_lock used(inUse_);
  auto* const found = systems(session);
  return found == nullptr ? errAuthorizationInvalidRef : copySessionRights(found, rights, environment, flags);
}

AuthorizationStatus MacAuthorization::free(AuthorizationRef session, AuthorizationFlags flags) {
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

AuthorizationStatus MacAuthorization::executeWithPrivileges(AuthorizationRef session, const std::string& tool,
                                                            AuthorizationFlags flags,
                                                            const std::vector<std::string>& arguments,
                                                            std::shared_ptr<CommunicationsPipe>* pipe) {
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
void MacAuthorization::releaseRights() {
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

ToolCommand MacAuthorization::commandForRoot(const std::string& tool, const std::vector<std::string>& arguments) {
  const auto passed = argumentsToUse(tool, arguments);
  if (!passed) return {kNothing, {}};
  const std::string refusal = posix::refusalForRoot(tool, *passed);
  if (refusal.empty()) return {tool, *passed};
  console_.print(tool + " is not started as root: " + refusal + ".");
  return {kNothing, {}};
}

AuthorizationStatus MacAuthorization::copyPrivilegedReference(AuthorizationRef* session, AuthorizationFlags flags) {
  AuthorizationRef handed = nullptr;
  const AuthorizationStatus status = copySessionOfParent(&handed, flags);
  const bool isThere = status == errAuthorizationSuccess && handed != nullptr;
  // The parent goes on using its rights.
  *session = isThere ? keep({handed, kAuthorizationFlagDefaults}) : nullptr;
  return status;
}

AuthorizationRef MacAuthorization::keep(const Session& session) {
  const std::scoped_lock lock(mutex_);
  auto* const handle = reinterpret_cast<AuthorizationRef>(++lastSession_);  // NOLINT(performance-no-int-to-ptr)
  sessions_[handle] = session;
  return handle;
}

AuthorizationRef MacAuthorization::systems(AuthorizationRef session) {
  const std::scoped_lock lock(mutex_);
  const auto found = sessions_.find(session);
  return found == sessions_.end() ? nullptr : found->second.system;
}

std::shared_ptr<CommunicationsPipe> MacAuthorization::keepOutput(std::FILE* output) {
  auto kept = std::make_shared<posix::ToolOutput>(output);
  const std::scoped_lock lock(mutex_);
  std::erase_if(outputs_, [](const auto& other) { return other->hasEnded(); });
  outputs_.push_back(kept);
  return kept;
}

}  // namespace qm::macos

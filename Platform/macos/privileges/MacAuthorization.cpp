// SPDX-License-Identifier: MIT
#include "Platform/macos/privileges/MacAuthorization.h"

#include <algorithm>
#include <utility>

#include "Platform/macos/privileges/AuthorizationCalls.h"
#include "Platform/macos/privileges/HollowFolderItems.h"
#include "Platform/posix/rights/PathWriters.h"

namespace qm::macos {
namespace {

using namespace platform;  // the names of Authorization Services are long enough as they are

constexpr const char* kRemove = "/bin/rm";
/// Does nothing, and says that it has not done it.
constexpr const char* kNothing = "/usr/bin/false";

class ToolOutput final : public CommunicationsPipe {
 public:
  explicit ToolOutput(std::FILE* file) : file_(file) {}
  ToolOutput(const ToolOutput&) = delete;
  ToolOutput& operator=(const ToolOutput&) = delete;
  ~ToolOutput() override { static_cast<void>(std::fclose(file_)); }

  int readCharacter() override { return std::fgetc(file_); }

 private:
  std::FILE* file_;
};

bool isPath(const std::string& argument) { return argument.starts_with('/'); }

bool isLed(const std::string& path) { return !posix::writersOfPath(path).none(); }

}  // namespace

AuthorizationStatus MacAuthorization::create(const AuthorizationItems& environment, AuthorizationFlags flags,
                                             AuthorizationRef* session) {
  return createSession(environment, flags, session);
}

void MacAuthorization::announce(const std::string& tool, const std::vector<std::string>& arguments) {
  nextIsRefused_ = !asMeant(tool, arguments);
}

void MacAuthorization::expectHollowFolder(const std::string& folder) {
  const std::scoped_lock lock(mutex_);
  hollowFolder_ = folder;
}

std::optional<std::vector<std::string>> MacAuthorization::asMeant(const std::string& tool,
                                                                  const std::vector<std::string>& arguments) {
  const std::scoped_lock lock(mutex_);
  const bool isHollow = tool == kRemove && !hollowFolder_.empty() && !arguments.empty();
  if (!isHollow || arguments.back() != hollowFolder_) return arguments;
  auto items = hollowFolderItems(hollowFolder_);
  if (!items) {
    console_.print(hollowFolder_ + " stays: it can’t be shown that nothing is in it.");
    return std::nullopt;
  }
  items->insert(items->begin(), "-df");  // each by itself, and a folder only when it is empty
  return items;
}

AuthorizationStatus MacAuthorization::copyRights(AuthorizationRef session, const AuthorizationItems& rights,
                                                 const AuthorizationItems& environment, AuthorizationFlags flags) {
  if (nextIsRefused_.exchange(false)) return errAuthorizationDenied;
  return copySessionRights(session, rights, environment, flags);
}

AuthorizationStatus MacAuthorization::free(AuthorizationRef session, AuthorizationFlags flags) {
  return freeSession(session, flags);
}

AuthorizationStatus MacAuthorization::executeWithPrivileges(AuthorizationRef session, const std::string& tool,
                                                            AuthorizationFlags flags,
                                                            const std::vector<std::string>& arguments,
                                                            std::shared_ptr<CommunicationsPipe>* pipe) {
  if (!canExecute()) return errAuthorizationToolExecuteFailure;
  const auto meant = asMeant(tool, arguments);
  if (!meant) return errAuthorizationDenied;
  std::FILE* output = nullptr;
  const AuthorizationStatus status = executeWithRights(session, tool, flags, *meant, &output);
  if (status == errAuthorizationSuccess && output != nullptr) *pipe = std::make_shared<ToolOutput>(output);
  return status;
}

ToolCommand MacAuthorization::commandForRoot(const std::string& tool, const std::vector<std::string>& arguments) {
  const auto meant = asMeant(tool, arguments);
  if (!meant) return {kNothing, {}};
  const auto led =
      std::ranges::find_if(*meant, [](const std::string& argument) { return isPath(argument) && isLed(argument); });
  if (led == meant->end()) return {tool, *meant};
  console_.print(tool + " is not started as root: others than root could lead the way to " + *led + " elsewhere.");
  return {kNothing, {}};
}

AuthorizationStatus MacAuthorization::copyPrivilegedReference(AuthorizationRef* session, AuthorizationFlags flags) {
  return copySessionOfParent(session, flags);
}

}  // namespace qm::macos

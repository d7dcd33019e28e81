// SPDX-License-Identifier: MIT
#include "Platform/macos/privileges/MacAuthorization.h"

#include <sys/stat.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "Platform/foundation/PathComponents.h"
#include "Platform/macos/privileges/AuthorizationCalls.h"
#include "Platform/posix/HollowFolder.h"
#include "Platform/posix/ItemPath.h"
#include "Platform/posix/process/NoPipeMeanwhile.h"
#include "Platform/posix/rights/PathWriters.h"
#include "Platform/posix/rights/ToolTrees.h"

namespace qm::macos {
namespace {

using namespace platform;  // the names of Authorization Services are long enough as they are

constexpr const char* kRemove = "/bin/rm";
/// When a session is freed with this option, its rights are also taken from everybody who shares them.
constexpr AuthorizationFlags kDestroyRights = 8;
/// Started in place of a tool that is refused: it does nothing and fails.
constexpr const char* kNothing = "/usr/bin/false";

/// Whether every argument of the tool that is not an option is a path, even a relative one. Who can redirect a relative
/// path cannot be determined.
bool takesPathsOnly(const std::string& tool) {
  constexpr const char* kTools[] = {"/bin/cp", "/bin/mkdir", "/bin/mv", "/bin/rm", "/usr/bin/ditto", "/usr/bin/touch"};
  return std::ranges::find(kTools, tool) != std::end(kTools);
}

bool isPath(const std::string& argument) { return argument.starts_with('/'); }
bool isNoOption(const std::string& argument) { return !argument.starts_with('-'); }

bool isLed(const std::string& path) { return !posix::writersOfPath(path).none(); }

/// Lists a folder that contains only folders and the Finder's files: every path before that of the folder that contains
/// it, the folder itself last. Null if it contains anything else, or if that cannot be determined.
std::optional<std::vector<std::string>> hollowItemsAt(const std::string& folder) {
  const auto isHousekeeping = [](const std::string& name) { return name == ".DS_Store" || name == "Icon\r"; };
  posix::Place place;
  if (posix::openPlace(folder, place) != 0) return std::nullopt;
  auto items = posix::hollowFolderItems(place.folder.get(), place.name, isHousekeeping);
  if (!items) return std::nullopt;
  const std::string above = foundation::deletingLastPathComponent(folder);
  for (std::string& item : *items) item = foundation::appendingPathComponent(above, item);
  return items;
}

bool isFolder(const std::string& path) {
  struct stat found {};
  return ::stat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
}

/// Whether the tool puts its items into the destination instead of in its place.
bool putsIntoFolder(const std::string& tool, const std::string& destination) {
  return (tool == "/bin/cp" || tool == "/bin/mv") && isFolder(destination);
}

/// All paths that the tool may use. They include the path that each item of a copy or move would get if the destination
/// is an existing folder. Nobody but root can make it one meanwhile, because the destination is among the paths.
std::vector<std::string> pathsOf(const std::string& tool, const std::vector<std::string>& arguments) {
  std::vector<std::string> paths;
  std::ranges::copy_if(arguments, std::back_inserter(paths), takesPathsOnly(tool) ? isNoOption : isPath);
  if (paths.size() < 2 || !putsIntoFolder(tool, paths.back())) return paths;
  const std::size_t sources = paths.size() - 1;
  const std::string destination = paths.back();
  for (std::size_t i = 0; i < sources; ++i) {
    const std::string name = foundation::lastPathComponent(paths[i]);
    paths.push_back(foundation::appendingPathComponent(destination, name));
  }
  return paths;
}

/// Why root must not start the tool; "" if it may.
std::string refusalForRoot(const std::string& tool, const std::vector<std::string>& arguments) {
  const std::vector<std::string> paths = pathsOf(tool, arguments);
  const auto led = std::ranges::find_if(paths, isLed);
  if (led != paths.end()) return "others than root could lead the way to " + *led + " elsewhere";
  const std::string open = posix::treeThatOthersChange(tool, arguments, paths);
  return open.empty() ? "" : "others than root can change what is in " + open;
}

}  // namespace

/// The output of a tool. Remembers whether the tool has ended.
class ToolOutput final : public CommunicationsPipe {
 public:
  explicit ToolOutput(std::FILE* file) : file_(file) {}
  ToolOutput(const ToolOutput&) = delete;
  ToolOutput& operator=(const ToolOutput&) = delete;
  ~ToolOutput() override { static_cast<void>(std::fclose(file_)); }

  int readCharacter() override {
    const int character = std::fgetc(file_);
    hasEnded_ = hasEnded_ || character < 0;
    return character;
  }

  bool hasEnded() const { return hasEnded_; }
  void waitForEnd() {
    while (!hasEnded_) static_cast<void>(readCharacter());
  }

 private:
  std::FILE* file_;
  std::atomic<bool> hasEnded_ = false;
};

MacAuthorization::MacAuthorization(platform::Console& console) : console_(console) {}

MacAuthorization::~MacAuthorization() = default;

AuthorizationStatus MacAuthorization::create(const AuthorizationItems& environment, AuthorizationFlags flags,
                                             AuthorizationRef* session) {
  *session = nullptr;
  if (nextIsRefused_.exchange(false)) return errAuthorizationDenied;
  AuthorizationRef made = nullptr;
  const AuthorizationStatus status = createSession(environment, flags, &made);
  if (status == errAuthorizationSuccess) *session = keep(made);
  return status;
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
  auto* const found = systems(session);
  return found == nullptr ? errAuthorizationInvalidRef : copySessionRights(found, rights, environment, flags);
}

AuthorizationStatus MacAuthorization::free(AuthorizationRef session, AuthorizationFlags flags) {
  std::unique_ptr<Session> ended;
  {
    const std::scoped_lock lock(mutex_);
    const auto found = sessions_.find(session);
    if (found == sessions_.end()) return errAuthorizationInvalidRef;
    ended = std::move(found->second);
    sessions_.erase(found);
  }
  return ended->system == nullptr ? errAuthorizationSuccess : freeSession(ended->system, flags);
}

AuthorizationStatus MacAuthorization::executeWithPrivileges(AuthorizationRef session, const std::string& tool,
                                                            AuthorizationFlags flags,
                                                            const std::vector<std::string>& arguments,
                                                            std::shared_ptr<CommunicationsPipe>* pipe) {
  if (!canExecute()) return errAuthorizationToolExecuteFailure;
  auto* const rightful = systems(session);
  if (rightful == nullptr) return errAuthorizationInvalidRef;
  const auto meant = asMeant(tool, arguments);
  if (!meant) return errAuthorizationDenied;
  std::FILE* output = nullptr;
  const auto lock = posix::noPipeMeanwhile();
  const AuthorizationStatus status = executeWithRights(rightful, tool, flags, *meant, &output);
  if (status == errAuthorizationSuccess && output != nullptr) *pipe = keepOutput(output);
  return status;
}

/// Also waits for tools whose output nobody reads.
void MacAuthorization::releaseRights() {
  std::vector<std::shared_ptr<ToolOutput>> outputs;
  std::vector<AuthorizationRef> ended;
  {
    const std::scoped_lock lock(mutex_);
    std::swap(outputs, outputs_);
    for (const auto& [handle, session] : sessions_) ended.push_back(std::exchange(session->system, nullptr));
  }
  for (const auto& output : outputs) output->waitForEnd();
  std::erase(ended, nullptr);
  for (auto* const session : ended) static_cast<void>(freeSession(session, kDestroyRights));
}

ToolCommand MacAuthorization::commandForRoot(const std::string& tool, const std::vector<std::string>& arguments) {
  const auto meant = asMeant(tool, arguments);
  if (!meant) return {kNothing, {}};
  const std::string refusal = refusalForRoot(tool, *meant);
  if (refusal.empty()) return {tool, *meant};
  console_.print(tool + " is not started as root: " + refusal + ".");
  return {kNothing, {}};
}

AuthorizationStatus MacAuthorization::copyPrivilegedReference(AuthorizationRef* session, AuthorizationFlags flags) {
  AuthorizationRef handed = nullptr;
  const AuthorizationStatus status = copySessionOfParent(&handed, flags);
  *session = status == errAuthorizationSuccess && handed != nullptr ? keep(handed) : nullptr;
  return status;
}

AuthorizationRef MacAuthorization::keep(AuthorizationRef system) {
  auto session = std::make_unique<Session>(Session{system});
  auto* const handle = reinterpret_cast<AuthorizationRef>(session.get());
  const std::scoped_lock lock(mutex_);
  sessions_[handle] = std::move(session);
  return handle;
}

AuthorizationRef MacAuthorization::systems(AuthorizationRef session) {
  const std::scoped_lock lock(mutex_);
  const auto found = sessions_.find(session);
  return found == sessions_.end() ? nullptr : found->second->system;
}

std::shared_ptr<CommunicationsPipe> MacAuthorization::keepOutput(std::FILE* output) {
  auto kept = std::make_shared<ToolOutput>(output);
  const std::scoped_lock lock(mutex_);
  std::erase_if(outputs_, [](const auto& other) { return other->hasEnded(); });
  outputs_.push_back(kept);
  return kept;
}

}  // namespace qm::macos

// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/PolkitAuthorization.h"

#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <utility>

#include "Platform/linux/privileges/ChildrenThatRun.h"
#include "Platform/linux/privileges/ConsoleText.h"
#include "Platform/linux/privileges/HelperOpening.h"
#include "Platform/linux/rights/UserDatabase.h"
#include "Platform/linux/trash/DesktopTrash.h"
#include "Platform/linux/trash/TrashFinder.h"
#include "Platform/posix/process/Uninterrupted.h"

namespace qm::linux_ {

using namespace platform;  // the names of Authorization Services are long enough as they are

namespace {

constexpr const char* kEnvironmentTool = "/usr/bin/env";
constexpr const char* kAdministratorRight = "system.privilege.admin";

class OutputPipe : public CommunicationsPipe {
 public:
  explicit OutputPipe(posix::UniqueFd fd) : fd_(std::move(fd)) {}

  int readCharacter() override {
    if (next_ == size_ && !fill()) return -1;
    return static_cast<unsigned char>(block_[next_++]);
  }

 private:
  bool fill() {
    next_ = 0;
    size_ = posix::readOnce(fd_.get(), block_.data(), block_.size());
    return size_ > 0;
  }

  posix::UniqueFd fd_;
  std::array<char, 4096> block_{};
  std::size_t next_ = 0;
  std::size_t size_ = 0;
};

const std::string* valueOf(const AuthorizationItems& items, const char* name) {
  const auto found = std::ranges::find(items, name, &AuthorizationItem::name);
  return found == items.end() ? nullptr : &found->value;
}

bool has(AuthorizationFlags flags, AuthorizationFlags wanted) { return (flags & wanted) != 0; }

// Whoever can read the memory of this process, or take its descriptors, has the session's rights.
void keepMemoryToOurselves(bool wanted) { ::prctl(PR_SET_DUMPABLE, wanted ? 0 : 1); }

OnlyCommand commandLine(const std::string& tool, const std::vector<std::string>& arguments) {
  OnlyCommand command = {tool};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return command;
}

/// For a command that moves an item to the Trash: why that Trash cannot be used. "" if it can be used, and for every
/// other command. Administrator rights would not help, because the Trash is the user's own.
std::string troubleWithTrash(const OnlyCommand& command, const Users& users) {
  const std::string folder = users.homeDirectory() + "/.Trash/";
  if (command.size() != 4 || command.front() != "/bin/mv" || !command.back().starts_with(folder)) return {};
  const TrashUser self{{::getuid(), ::getgid(), {}}, users.homeDirectory(), std::nullopt, false, {}};
  if (openLinkedTrash(self)) return {};
  const auto trash = TrashFinder().homeTrash(self);
  return trash ? std::string() : "they would not help, because " + trash.problem().because;
}

bool isFileTool(const std::string& tool) {
  constexpr const char* tools[] = {"/bin/mv", "/bin/cp", "/bin/rm", "/bin/mkdir", "/usr/bin/touch"};
  return std::ranges::find(tools, tool) != std::end(tools);
}

}  // namespace

PolkitAuthorization::PolkitAuthorization(Console& console, const Users& users, PrivilegePrograms programs)
    : console_(console), users_(users), programs_(std::move(programs)) {}

PolkitAuthorization::~PolkitAuthorization() = default;

AuthorizationStatus PolkitAuthorization::create(const AuthorizationItems& /*environment*/, AuthorizationFlags /*flags*/,
                                                AuthorizationRef* session) {
  const std::scoped_lock lock(mutex_);
  // Handles are never reused, so that a freed one stays unknown.
  *session = reinterpret_cast<AuthorizationRef>(++lastSession_);  // NOLINT(performance-no-int-to-ptr)
  sessions_[*session] = {};
  return errAuthorizationSuccess;
}

void PolkitAuthorization::announce(const std::string& tool, const std::vector<std::string>& arguments) {
  const std::vector<std::string> used = argumentsToUse(tool, arguments);
  const std::scoped_lock lock(mutex_);
  announced_ = commandLine(tool, used);
}

void PolkitAuthorization::expectHollowFolder(const std::string& folder) {
  const std::scoped_lock lock(mutex_);
  hollowFolder_ = folder;
}

/// Replaces the removal of `hollowFolder_` by one that fails if other things are in it. The real rm has no option for
/// that.
std::vector<std::string> PolkitAuthorization::argumentsToUse(const std::string& tool,
                                                             const std::vector<std::string>& arguments) {
  const std::scoped_lock lock(mutex_);
  const bool isIt =
      tool == "/bin/rm" && !arguments.empty() && !hollowFolder_.empty() && arguments.back() == hollowFolder_;
  return isIt ? std::vector<std::string>{std::string(kIfHollow), hollowFolder_} : arguments;
}

OnlyCommand PolkitAuthorization::takeAnnounced() {
  const std::scoped_lock lock(mutex_);
  return std::exchange(announced_, {});
}

AuthorizationStatus PolkitAuthorization::copyRights(AuthorizationRef session, const AuthorizationItems& rights,
                                                    const AuthorizationItems& environment, AuthorizationFlags flags) {
  const OnlyCommand announced = takeAnnounced();
  {
    const std::scoped_lock lock(mutex_);
    const auto found = sessions_.find(session);
    if (found == sessions_.end()) return errAuthorizationInvalidRef;
    const auto isOther = [](const AuthorizationItem& right) { return right.name != kAdministratorRight; };
    if (std::ranges::any_of(rights, isOther)) return errAuthorizationDenied;
    const SharedConnection& connection = found->second.connection;
    if (rights.empty() || (connection && connection->isOpen())) return errAuthorizationSuccess;
  }
  return has(flags, kAuthorizationFlagExtendRights) ? open(session, environment, flags, announced)
                                                    : errAuthorizationDenied;
}

AuthorizationStatus PolkitAuthorization::open(AuthorizationRef session, const AuthorizationItems& environment,
                                              AuthorizationFlags flags, const OnlyCommand& announced) {
  const std::string* user = valueOf(environment, "username");
  const std::string* password = valueOf(environment, "password");
  const bool withCredentials = user != nullptr && password != nullptr;
  if (!withCredentials && !has(flags, kAuthorizationFlagInteractionAllowed)) {
    return errAuthorizationInteractionNotAllowed;
  }
  keepMemoryToOurselves(true);
  if (withCredentials) return keep(session, openHelperWithCredentials(programs_, console_, *user, *password), {});
  if (std::string trouble = troubleWithTrash(announced, users_); !trouble.empty()) {
    return keep(session, {errAuthorizationToolEnvironmentError, std::move(trouble), nullptr}, announced);
  }
  const OnlyCommand only = programs_.scope == HelperScope::AnyTool ? announced : OnlyCommand();
  HelperOpening opening = openHelperWithDialog(programs_, only, console_);
  if (opening.connection) return keep(session, std::move(opening), only);
  return keep(session, std::move(opening), announced);
}

// The session may have been freed while the dialog was shown. Then the connection ends here.
AuthorizationStatus PolkitAuthorization::keep(AuthorizationRef session, HelperOpening opening,
                                              const OnlyCommand& command) {
  const std::scoped_lock lock(mutex_);
  const auto found = sessions_.find(session);
  if (opening.connection && found != sessions_.end()) {
    found->second = {std::move(opening.connection), command};
    return opening.status;
  }
  if (opening.connection) {
    opening.status = errAuthorizationInvalidRef;
  } else {
    const std::vector<std::string> arguments(command.begin() + (command.empty() ? 0 : 1), command.end());
    console_.print(inOneLine("Administrator rights were not granted: " + opening.cause + leftAsItWas(arguments)));
  }
  if (!hasConnections()) keepMemoryToOurselves(false);
  return opening.status;
}

bool PolkitAuthorization::hasConnections() const {
  return std::ranges::any_of(sessions_, [](const auto& each) { return each.second.connection != nullptr; });
}

AuthorizationStatus PolkitAuthorization::free(AuthorizationRef session, AuthorizationFlags /*flags*/) {
  const std::scoped_lock lock(mutex_);
  if (sessions_.erase(session) == 0) return errAuthorizationInvalidRef;
  if (sessions_.empty()) keepMemoryToOurselves(false);
  return errAuthorizationSuccess;
}

// Rights for one command are used up by it, and do not hold for another.
AuthorizationStatus PolkitAuthorization::connectionFor(AuthorizationRef session, const OnlyCommand& command,
                                                       SharedConnection* connection) {
  {
    const std::scoped_lock lock(mutex_);
    const auto found = sessions_.find(session);
    if (found == sessions_.end() || !found->second.connection) return errAuthorizationInvalidRef;
    Session& known = found->second;
    const bool isForAll = known.only.empty();
    if (isForAll || (known.only == command && known.connection->isOpen())) *connection = known.connection;
    if (!isForAll) known.only = {""};
  }
  if (*connection) return errAuthorizationSuccess;
  const AuthorizationStatus status = keep(session, openHelperWithDialog(programs_, command, console_), command);
  return status == errAuthorizationSuccess ? connectionFor(session, command, connection) : status;
}

AuthorizationStatus PolkitAuthorization::executeWithPrivileges(AuthorizationRef session, const std::string& tool,
                                                               AuthorizationFlags /*flags*/,
                                                               const std::vector<std::string>& asked,
                                                               std::shared_ptr<CommunicationsPipe>* pipe) {
  const std::vector<std::string> arguments = argumentsToUse(tool, asked);
  SharedConnection connection;
  const AuthorizationStatus found = connectionFor(session, commandLine(tool, arguments), &connection);
  if (found != errAuthorizationSuccess) return found;
  posix::UniqueFd output;
  const AuthorizationStatus status = connection->launch(tool, arguments, &output);
  if (status == errAuthorizationInvalidRef) {
    console_.print(
        inOneLine(tool + " was not started: the program with administrator rights has ended" + leftAsItWas(arguments)));
  }
  if (status == errAuthorizationSuccess && pipe != nullptr) *pipe = std::make_shared<OutputPipe>(std::move(output));
  return status;
}

void PolkitAuthorization::releaseRights() {
  std::vector<SharedConnection> connections;
  {
    const std::scoped_lock lock(mutex_);
    for (auto& [handle, session] : sessions_) {
      if (session.connection) connections.push_back(std::move(session.connection));
      session = {};
    }
  }
  for (const SharedConnection& connection : connections) connection->end();
  if (!connections.empty()) keepMemoryToOurselves(false);
  if (users_.realUserId() == 0) waitForChildrenThatRun(programs_.helper);
}

ToolCommand PolkitAuthorization::commandForRoot(const std::string& tool, const std::vector<std::string>& arguments) {
  if (!isFileTool(tool)) return {tool, arguments};
  const auto person = userWithName(users_.consoleUser().value_or(std::string()));
  // If pkexec started this program, PKEXEC_UID names its caller, and the helper would refuse to work for another user.
  // So the variable is removed.
  std::vector<std::string> all = {
      "-u", "PKEXEC_UID", programs_.helper, "--for", std::to_string(person ? person->id : 0), tool};
  const std::vector<std::string> used = argumentsToUse(tool, arguments);
  all.insert(all.end(), used.begin(), used.end());
  return {kEnvironmentTool, all};
}

AuthorizationStatus PolkitAuthorization::copyPrivilegedReference(AuthorizationRef* session,
                                                                 AuthorizationFlags /*flags*/) {
  *session = nullptr;
  return errAuthorizationSuccess;
}

}  // namespace qm::linux_

// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <functional>
#include <iosfwd>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/AuthorizationServices.h"
#include "Platform/Console.h"
#include "Platform/linux/privileges/ChildProgram.h"
#include "Platform/linux/privileges/PolkitAuthorization.h"
#include "Platform/linux/system/SystemUsers.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::testing {

/// The users of the throw-away machine: an ordinary one, two administrators and one whose account has expired.
struct Account {
  const char* name;
  uid_t uid;
  const char* password;
};
/// For the messages of tests.
void PrintTo(const Account& account, std::ostream* stream);
inline constexpr Account kSam{"sam", 1001, "sam's secret"};
inline constexpr Account kAnna{"anna", 1002, "anna's secret"};
inline constexpr Account kBea{"bea", 1003, "bea's secret"};
inline constexpr Account kEve{"eve", 1004, "eve's secret"};

/// Records what is printed. Any thread.
class KeptConsole : public platform::Console {
 public:
  void print(std::string_view text) override;
  std::string text() const;
  /// Waits until something that contains `part` has been printed.
  bool waitFor(const std::string& part) const;

 private:
  mutable std::mutex mutex_;
  std::string text_;
};

/// A desktop's dialog for this process, answered by a script; see DesktopAgent.cpp. Ends with its scope.
class DesktopAgent {
 public:
  explicit DesktopAgent(const std::vector<std::string>& answers);
  ~DesktopAgent();
  DesktopAgent(const DesktopAgent&) = delete;
  DesktopAgent& operator=(const DesktopAgent&) = delete;

  /// The dialogs so far, each as "ACTION<tab>MESSAGE".
  std::vector<std::string> dialogs();

 private:
  posix::UniqueFd input_;
  posix::UniqueFd output_;
  std::string text_;
  linux_::ChildProgram child_;
};

/// An application of one user: the service with a console, and one session.
class Application {
 public:
  /// One of the maker's others, or the uninstaller.
  explicit Application(linux_::HelperScope scope = linux_::HelperScope::AnyTool);

  platform::AuthorizationStatus open();
  platform::AuthorizationStatus open(const Account& account) { return open(account.name, account.password); }
  platform::AuthorizationStatus open(const std::string& user, const std::string& password);
  platform::AuthorizationStatus start(const std::string& tool, const std::vector<std::string>& arguments);
  /// Starts a tool and reads its output to the end.
  std::string outputOf(const std::string& tool, const std::vector<std::string>& arguments);
  platform::AuthorizationStatus end() { return service.free(session, 0); }

  linux_::PrivilegePrograms programs;
  /// Outlives the application, since a tool's failure may be printed later.
  KeptConsole& console;
  linux_::SystemUsers users;
  linux_::PolkitAuthorization service;
  platform::AuthorizationRef session = nullptr;
  std::shared_ptr<platform::CommunicationsPipe> pipe;
};

/// Runs `body` in a process of the user's, in a session of its own without a terminal.
bool asAccount(const Account& account, const std::function<void()>& body);

/// The ids of the processes whose program has this name.
std::vector<pid_t> processesNamed(const std::string& name);

/// No helper and no agent is left. Waits for that.
bool nobodyIsLeft();

/// The build folder of this program and the others.
const std::string& programFolder();

/// The main function: prepares the machine (users, the message bus, the actions in the folder of packaging that is its
/// only argument) and runs all tests. They fail if this is not a throw-away machine.
int runInThrowAwayMachine(int count, char** arguments);

}  // namespace qm::testing

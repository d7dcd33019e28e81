// SPDX-License-Identifier: MIT
#include "tests/privileges/PolkitMachine.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

#include "Platform/posix/process/Descriptors.h"
#include "Uninstaller/Product.h"
#include "tests/contract/system/WaitUntil.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using linux_::ChildProgram;
using namespace platform;  // the names of Authorization Services are long enough as they are

constexpr AuthorizationFlags kWithDialog =
    kAuthorizationFlagInteractionAllowed | kAuthorizationFlagExtendRights | kAuthorizationFlagPreAuthorize;
constexpr AuthorizationFlags kWithoutDialog = kAuthorizationFlagExtendRights | kAuthorizationFlagPreAuthorize;

const AuthorizationItems kAdministrator = {{.name = "system.privilege.admin", .value = "", .flags = 0}};

void runAsRoot(const std::string& command) {
  ASSERT_EQ(::system(command.c_str()), 0) << command;  // NOLINT(cert-env33-c): a test's own fixed commands
}

void makeAccount(const Account& account) {
  const std::string name = account.name;
  const std::string uid = std::to_string(account.uid);
  runAsRoot("id " + name + " >/dev/null 2>&1 || useradd --uid " + uid + " --create-home --shell /bin/bash " + name);
  runAsRoot("echo \"" + name + ":" + account.password + "\" | chpasswd");
}

bool isThrowawayMachine() {
  char name[64] = {};
  return ::gethostname(name, sizeof name - 1) == 0 && std::string(name) == "throwaway" &&
         std::filesystem::exists("/run/machine/changes");
}

// Prints its address when it accepts connections.
void startMessageBus() {
  // Never destroyed: each case runs in a copy of this process, which must not end the bus.
  static auto& bus = *new ChildProgram;
  ASSERT_EQ(::mkdir("/run/dbus", 0755), 0);
  posix::Pipe pipe = posix::makePipe();
  ASSERT_TRUE(pipe.reading);
  ASSERT_EQ(bus.start("/usr/bin/dbus-daemon", {"--system", "--nofork", "--nopidfile", "--print-address=1"},
                      {.output = pipe.writing.get()}),
            0);
  pipe.writing.reset();
  char unused = 0;
  ASSERT_EQ(::read(pipe.reading.get(), &unused, 1), 1) << "the message bus did not start";
  // It may go on writing there.
  static_cast<void>(pipe.reading.release());
}

KeptConsole& lastingConsole() {
  static auto& consoles = *new std::deque<KeptConsole>;
  return consoles.emplace_back();
}

}  // namespace

void PrintTo(const Account& account, std::ostream* stream) { *stream << account.name; }

void KeptConsole::print(std::string_view text) {
  const std::scoped_lock lock(mutex_);
  text_ += std::string(text) + "\n";
}

std::string KeptConsole::text() const {
  const std::scoped_lock lock(mutex_);
  return text_;
}

bool KeptConsole::waitFor(const std::string& part) const {
  return waitUntil([&] { return text().find(part) != std::string::npos; });
}

DesktopAgent::DesktopAgent(const std::vector<std::string>& answers) {
  std::vector<std::string> arguments = {std::to_string(::getpid()), linux_::ownStartTime()};
  arguments.insert(arguments.end(), answers.begin(), answers.end());
  posix::Pipe input = posix::makePipe();
  posix::Pipe output = posix::makePipe();
  EXPECT_TRUE(input.reading && output.reading);
  input_ = std::move(input.writing);
  output_ = std::move(output.reading);
  EXPECT_EQ(child_.start(programFolder() + "/test-desktop-agent", arguments,
                         {.input = input.reading.get(), .output = output.writing.get(), .errors = STDERR_FILENO}),
            0);
  output.writing.reset();  // the agent's end, and with it this read
  char ready[6] = {};
  EXPECT_EQ(::read(output_.get(), ready, sizeof ready), 6) << "the agent did not register";
  ::fcntl(output_.get(), F_SETFL, O_NONBLOCK);
}

DesktopAgent::~DesktopAgent() {
  input_.reset();
  child_.wait();
}

std::vector<std::string> DesktopAgent::dialogs() {
  char block[4096];
  for (ssize_t got = 0; (got = ::read(output_.get(), block, sizeof block)) > 0;) {
    text_.append(block, static_cast<std::size_t>(got));
  }
  std::vector<std::string> lines;
  std::istringstream stream(text_);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

Application::Application(linux_::HelperScope scope)
    : programs(linux_::privilegePrograms(kProduct, programFolder() + "/tessaly-uninstaller", scope)),
      console(lastingConsole()),
      service(console, users, programs) {
  EXPECT_EQ(service.create({}, 0, &session), errAuthorizationSuccess);
}

AuthorizationStatus Application::open() { return service.copyRights(session, kAdministrator, {}, kWithDialog); }

AuthorizationStatus Application::open(const std::string& user, const std::string& password) {
  const AuthorizationItems credentials = {{.name = "username", .value = user, .flags = 0},
                                          {.name = "password", .value = password, .flags = 0}};
  return service.copyRights(session, kAdministrator, credentials, kWithoutDialog);
}

AuthorizationStatus Application::start(const std::string& tool, const std::vector<std::string>& arguments) {
  return service.executeWithPrivileges(session, tool, 0, arguments, &pipe);
}

std::string Application::outputOf(const std::string& tool, const std::vector<std::string>& arguments) {
  EXPECT_EQ(start(tool, arguments), errAuthorizationSuccess) << tool << "\n" << console.text();
  std::string output;
  for (int character = 0; pipe && (character = pipe->readCharacter()) >= 0;) output += static_cast<char>(character);
  return output;
}

bool asAccount(const Account& account, const std::function<void()>& body) {
  return asUser(account.uid, account.uid, [&] {
    EXPECT_GT(::setsid(), 0);
    body();
  });
}

std::vector<pid_t> processesNamed(const std::string& name) {
  std::vector<pid_t> processes;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const std::string number = entry.path().filename();
    if (number.find_first_not_of("0123456789") != std::string::npos) continue;
    std::ifstream file(entry.path() / "comm");
    std::string found;
    std::getline(file, found);
    std::error_code error;  // a zombie runs no program
    const bool runs = !std::filesystem::read_symlink(entry.path() / "exe", error).empty();
    if (runs && found == name.substr(0, 15)) processes.push_back(static_cast<pid_t>(std::stol(number)));
  }
  return processes;
}

namespace {

// This program is the first process of the machine: orphans become its children.
void reapAdopted() {
  while (::waitpid(-1, nullptr, WNOHANG) > 0) {
  }
}

}  // namespace

// The kernel keeps fifteen characters of a name: helper and agent share them.
bool nobodyIsLeft() {
  return waitUntil([] {
    reapAdopted();
    return processesNamed("tessaly-uninstaller-admin-helper").empty() &&
           processesNamed("quillmark-admin-helper").empty() && processesNamed("polkit-agent-helper-1").empty() &&
           processesNamed("pkexec").empty();
  });
}

const std::string& programFolder() {
  static const std::string folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  return folder;
}

namespace {

void installAction(const std::string& packaging, const std::string& action, const std::string& helper) {
  std::ifstream policy(packaging + "/" + action + ".in");
  std::string text{std::istreambuf_iterator<char>(policy), {}};
  const std::string mark = "@QM_ADMIN_HELPER@";
  ASSERT_NE(text.find(mark), std::string::npos) << action;
  text.replace(text.find(mark), mark.size(), programFolder() + "/" + helper);
  std::ofstream("/usr/share/polkit-1/actions/" + action) << text;
}

void takeMachineIntoUse(const std::string& packaging) {
  ASSERT_TRUE(isThrowawayMachine()) << "these tests change the system: run them on a throw-away machine";
  for (const Account& account : {kSam, kAnna, kBea, kEve}) makeAccount(account);
  runAsRoot("usermod -aG sudo anna && usermod -aG sudo bea && usermod -aG sudo eve && usermod -e 1 eve");
  installAction(packaging, "com.quillmark.uninstaller.admin.policy", "tessaly-uninstaller-admin-helper");
  installAction(packaging, "com.quillmark.admin.policy", "quillmark-admin-helper");
  startMessageBus();
}

class Machine : public ::testing::Environment {
 public:
  explicit Machine(std::string packaging) : packaging_(std::move(packaging)) {}
  void SetUp() override { takeMachineIntoUse(packaging_); }

 private:
  std::string packaging_;
};

}  // namespace

int runInThrowAwayMachine(int count, char** arguments) {
  ::testing::InitGoogleTest(&count, arguments);
  if (count != 2) return 2;
  ::testing::AddGlobalTestEnvironment(new Machine(arguments[1]));
  return RUN_ALL_TESTS();
}

}  // namespace qm::testing

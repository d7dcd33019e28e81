// SPDX-License-Identifier: MIT

// The agent for credentials: which dialogs it answers, and how it protects what it knows. A script takes the place of
// the program that polkit's library starts to check a password.

#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <csignal>
#include <cstdlib>

#include <cerrno>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "Platform/linux/privileges/agent/AgentMain.h"
#include "Platform/linux/privileges/agent/CredentialsListener.h"
#include "Platform/posix/process/Descriptors.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

std::string sent(const std::string& text) {
  return std::string{static_cast<char>(text.size()), '\0', '\0', '\0'} + text;
}

/// A pipe's reading end, with a name and a password in it.
posix::UniqueFd credentialsIn(const std::string& bytes) {
  posix::Pipe pipe = posix::makePipe();
  EXPECT_EQ(::write(pipe.writing.get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  return std::move(pipe.reading);
}

// MARK: - Dialogs

constexpr linux_::AnsweredActions kActions = {"com.example.one", "com.example.two", "com.example.three"};

using Identity = std::unique_ptr<PolkitIdentity, void (*)(void*)>;
Identity user(const char* name) { return {polkit_unix_user_new_for_name(name, nullptr), g_object_unref}; }
Identity userWithoutName() { return {polkit_unix_user_new(54321), g_object_unref}; }
Identity group() { return {polkit_unix_group_new(0), g_object_unref}; }

struct Answer {
  bool isThere = false;
  bool isGiven = false;
  std::string error;
};

void onAnswer(GObject* listener, GAsyncResult* result, void* data) {
  auto* answer = static_cast<Answer*>(data);
  GError* error = nullptr;
  answer->isThere = true;
  answer->isGiven =
      polkit_agent_listener_initiate_authentication_finish(POLKIT_AGENT_LISTENER(listener), result, &error) != FALSE;
  if (error != nullptr) answer->error = error->message;
  g_clear_error(&error);
}

/// Runs in a private machine.
class Agent {
 public:
  explicit Agent(const std::string& checkOfThePassword) {
    g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING));
    const std::string folder = machineFolder() + "/polkit";
    EXPECT_EQ(::mkdir(folder.c_str(), 0755), 0);
    const std::string program = folder + "/polkit-agent-helper-1";
    std::ofstream(program) << "#!/bin/sh\ncd '" << machineFolder()
                           << "'\nread -r cookie\necho \"$1 $cookie\" >> asked\n"
                           << "ask() { echo 'PAM_PROMPT_ECHO_OFF Password: '; read -r answer && "
                           << "echo \"$answer\" >> answers; }\n"
                           << checkOfThePassword << "\n";
    EXPECT_EQ(::chmod(program.c_str(), 0755), 0);
    bindMount(folder, "/usr/lib/polkit-1");
    EXPECT_TRUE(credentials.read(credentialsIn(sent("daemon") + sent("its secret")).get()));
    g_object_add_weak_pointer(G_OBJECT(listener), &remaining);
  }
  Agent(const Agent&) = delete;
  Agent& operator=(const Agent&) = delete;
  ~Agent() {
    g_object_unref(listener);
    EXPECT_EQ(remaining, nullptr) << "nobody refers to it any more";
  }

  /// Asks, and waits for the answer.
  Answer ask(const char* action, const std::vector<Identity>& identities) {
    GList* list = nullptr;
    for (const Identity& each : identities) list = g_list_append(list, each.get());
    Answer answer;
    const int before = finished;
    polkit_agent_listener_initiate_authentication(listener, action, "a message", "", nullptr, "the-cookie", list,
                                                  nullptr, onAnswer, &answer);
    while (!answer.isThere) g_main_context_iteration(nullptr, TRUE);
    g_list_free(list);
    EXPECT_EQ(finished, before + 1);
    return answer;
  }
  void expectRefusal(const char* action, const std::vector<Identity>& identities) {
    const Answer answer = ask(action, identities);
    EXPECT_FALSE(answer.isGiven);
    EXPECT_EQ(answer.error, "These credentials are not for this dialog");
  }
  static std::string text(const std::string& name) {
    std::ifstream file(machineFolder() + "/" + name);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  linux_::Credentials credentials;
  int finished = 0;
  PolkitAgentListener* listener = linux_::makeCredentialsListener(
      credentials, kActions, [](void* count) { ++*static_cast<int*>(count); }, &finished);
  void* remaining = listener;
};

template <class... Identities>
std::vector<Identity> listOf(Identities... identities) {
  std::vector<Identity> list;
  (list.push_back(std::move(identities)), ...);
  return list;
}

TEST(CredentialsListener, AnswersADialogOnceAndForgetsThePassword) {
  runInPrivateMachine([] {
    Agent agent("ask; echo SUCCESS");
    EXPECT_TRUE(agent.ask("com.example.two", listOf(group(), userWithoutName(), user("root"), user("daemon"))).isGiven);
    EXPECT_EQ(Agent::text("asked"), "daemon the-cookie\n");
    EXPECT_EQ(Agent::text("answers"), "its secret\n");
    EXPECT_STREQ(agent.credentials.password(), "");
    EXPECT_STREQ(agent.credentials.user(), "daemon");
    agent.expectRefusal("com.example.two", listOf(user("daemon")));
    EXPECT_EQ(Agent::text("asked"), "daemon the-cookie\n");
  });
}

TEST(CredentialsListener, DoesNotAnswerASecondQuestion) {
  runInPrivateMachine([] {
    Agent agent("ask; ask; echo FAILURE");
    EXPECT_TRUE(agent.ask("com.example.one", listOf(user("daemon"))).isGiven);
    EXPECT_EQ(Agent::text("answers"), "its secret\n");
  });
}

TEST(CredentialsListener, RefusesDialogsThatAreNotForItsCredentials) {
  runInPrivateMachine([] {
    Agent agent("ask; echo SUCCESS");
    agent.expectRefusal("com.example.four", listOf(user("daemon")));
    agent.expectRefusal("com.example.one", listOf(user("root")));
    agent.expectRefusal("com.example.one", listOf(group()));
    agent.expectRefusal("com.example.one", listOf(userWithoutName()));
    EXPECT_EQ(Agent::text("asked"), "");
    EXPECT_STREQ(agent.credentials.password(), "its secret");
    EXPECT_TRUE(agent.ask("com.example.three", listOf(user("daemon"))).isGiven) << "they are still there";
  });
}

// MARK: - The program

constexpr platform::ProductIdentity kNone = {};

/// Runs the program in this process, where it cannot become ready.
int runAgent(std::vector<std::string> arguments, const std::string& input) {
  const posix::Pipe output = posix::makePipe();
  EXPECT_EQ(::dup2(output.writing.get(), STDOUT_FILENO), STDOUT_FILENO);
  EXPECT_EQ(::dup2(credentialsIn(input).get(), STDIN_FILENO), STDIN_FILENO);
  EXPECT_EQ(::setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent", 1), 0);
  std::vector<char*> vector;
  for (std::string& argument : arguments) vector.push_back(argument.data());
  vector.push_back(nullptr);
  const int status = linux_::runCredentialsAgent(kNone, static_cast<int>(arguments.size()), vector.data());
  int unread = -1;
  EXPECT_EQ(::ioctl(output.reading.get(), FIONREAD, &unread), 0);
  EXPECT_EQ(unread, 0) << "it says nothing";
  return status;
}

const std::string kWhole = sent("daemon") + sent("its secret");

TEST(CredentialsAgentProgram, SaysThatItIsMisused) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"agent"}, {"agent", "1"}, {"agent", "1", "2", "3"}}) {
    inChild([&] { EXPECT_EQ(runAgent(arguments, kWhole), 2); });
  }
  inChild([] { EXPECT_EQ(runAgent({"agent", "1", "2"}, kWhole.substr(0, kWhole.size() - 1)), 2); });
}

TEST(CredentialsAgentProgram, FailsWithoutTheMessageBusAndKeepsItsMemoryToItself) {
  inChild([] {
    EXPECT_EQ(runAgent({"agent", std::to_string(::getpid()), "2"}, kWhole), 1);
    rlimit core{1, 1};
    EXPECT_EQ(::getrlimit(RLIMIT_CORE, &core), 0);
    EXPECT_EQ(core.rlim_cur, 0U);
    EXPECT_EQ(core.rlim_max, 0U);
    EXPECT_EQ(::prctl(PR_GET_DUMPABLE), 0);
    int signalAtTheEndOfItsParent = 0;
    EXPECT_EQ(::prctl(PR_GET_PDEATHSIG, &signalAtTheEndOfItsParent), 0);
    EXPECT_EQ(signalAtTheEndOfItsParent, SIGKILL);
    EXPECT_EQ(::signal(SIGPIPE, SIG_DFL), SIG_IGN);
  });
}

TEST(CredentialsAgentProgram, DoesNothingWhereItsMemoryCannotBeProtected) {
  for (const long call : {SYS_prlimit64, SYS_prctl}) {
    inChild([call] {
      failSystemCall(call, EPERM);
      EXPECT_EQ(runAgent({"agent", std::to_string(::getpid()), "2"}, kWhole), 2);
    });
  }
}

}  // namespace
}  // namespace qm::testing

// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/agent/AgentMain.h"

#include <glib-unix.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>
#include <cstdlib>

#include <csignal>
#include <string_view>

#include "Platform/linux/privileges/agent/CredentialsListener.h"

namespace qm::linux_ {
namespace {

constexpr int kFailed = 1;
constexpr int kMisused = 2;

// Nobody but root can read this process's memory, and nothing of it is written to a disk.
bool protectMemory() {
  const rlimit none{0, 0};
  return ::prctl(PR_SET_DUMPABLE, 0) == 0 && ::setrlimit(RLIMIT_CORE, &none) == 0;
}

void endLoop(void* loop) { g_main_loop_quit(static_cast<GMainLoop*>(loop)); }

gboolean onInputClosed(gint /*fd*/, GIOCondition /*condition*/, gpointer loop) {
  endLoop(loop);
  return G_SOURCE_REMOVE;
}

bool registerFor(PolkitAgentListener* listener, PolkitSubject* process, gpointer* registration) {
  GError* error = nullptr;
  *registration =
      polkit_agent_listener_register(listener, POLKIT_AGENT_REGISTER_FLAGS_NONE, process, nullptr, nullptr, &error);
  g_clear_error(&error);
  return *registration != nullptr;
}

bool serve(Credentials& credentials, const AnsweredActions& actions, PolkitSubject* process) {
  constexpr std::string_view ready = "ready\n";
  GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
  PolkitAgentListener* listener = makeCredentialsListener(credentials, actions, endLoop, loop);
  gpointer registration = nullptr;
  const bool registered = registerFor(listener, process, &registration);
  if (registered && ::write(STDOUT_FILENO, ready.data(), ready.size()) == static_cast<ssize_t>(ready.size())) {
    g_unix_fd_add(STDIN_FILENO, G_IO_HUP, onInputClosed, loop);
    g_main_loop_run(loop);
    // The answer to the dialog is still on its way.
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
    }
  }
  if (registered) polkit_agent_listener_unregister(registration);
  g_object_unref(listener);
  g_main_loop_unref(loop);
  return registered;
}

}  // namespace

int runCredentialsAgent(const platform::ProductIdentity& product, int count, char** arguments) {
  if (count != 3 || !protectMemory()) return kMisused;
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  static_cast<void>(::signal(SIGPIPE, SIG_IGN));
  Credentials credentials;
  if (!credentials.read(STDIN_FILENO)) return kMisused;
  const int process = static_cast<int>(::strtol(arguments[1], nullptr, 10));
  PolkitSubject* subject =
      polkit_unix_process_new_for_owner(process, ::strtoull(arguments[2], nullptr, 10), static_cast<gint>(::getuid()));
  const AnsweredActions actions = {product.helperAction, product.toolHelperAction, "org.freedesktop.policykit.exec"};
  const bool served = serve(credentials, actions, subject);
  g_object_unref(subject);
  return served ? 0 : kFailed;
}

}  // namespace qm::linux_

// SPDX-License-Identifier: MIT

// The dialog of a desktop, answered by a script: registers for a process, writes "ready" to standard output,
// and then one line for every dialog, "ACTION<tab>MESSAGE". Ends when standard input is closed.
//
//   test-desktop-agent PROCESS START-TIME ANSWER...
//
// Each dialog takes the next answer, and the last one again and again: "cancel", or passwords with slashes
// between them, which are tried one after the other. The user is the first administrator offered, or the one whose
// name and a colon stand before the passwords.

#include <glib-unix.h>
#include <polkitagent/polkitagent.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::vector<std::string> answers;
std::size_t nextAnswer = 0;

struct Dialog {
  GTask* task;
  PolkitIdentity* identity;
  std::string cookie;
  std::vector<std::string> passwords;
  std::size_t tried;
};

std::vector<std::string> split(const std::string& text) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, '/');) parts.push_back(part);
  return parts;
}

// The administrator whose name an answer begins with; the name is taken away. The first one where there is none.
PolkitIdentity* identityFor(std::string& answer, GList* identities) {
  const std::size_t colon = answer.find(':');
  if (colon == std::string::npos) return static_cast<PolkitIdentity*>(identities->data);
  const std::string name = answer.substr(0, colon);
  answer.erase(0, colon + 1);
  for (GList* entry = identities; entry != nullptr; entry = entry->next) {
    auto* identity = static_cast<PolkitIdentity*>(entry->data);
    if (POLKIT_IS_UNIX_USER(identity) && name == polkit_unix_user_get_name(POLKIT_UNIX_USER(identity))) return identity;
  }
  std::fprintf(stderr, "test-desktop-agent: %s is not offered\n", name.c_str());
  ::_exit(1);
}

void tryPassword(Dialog* dialog);

void onRequest(PolkitAgentSession* session, gchar* /*text*/, gboolean /*echo*/, gpointer data) {
  auto* dialog = static_cast<Dialog*>(data);
  polkit_agent_session_response(session, dialog->passwords[dialog->tried].c_str());
}

void onCompleted(PolkitAgentSession* session, gboolean gained, gpointer data) {
  auto* dialog = static_cast<Dialog*>(data);
  g_object_unref(session);
  if (gained == FALSE && ++dialog->tried < dialog->passwords.size()) return tryPassword(dialog);
  g_task_return_boolean(dialog->task, TRUE);
  g_object_unref(dialog->task);
  g_object_unref(dialog->identity);
  delete dialog;
}

void tryPassword(Dialog* dialog) {
  PolkitAgentSession* session = polkit_agent_session_new(dialog->identity, dialog->cookie.c_str());
  g_signal_connect(session, "request", G_CALLBACK(onRequest), dialog);
  g_signal_connect(session, "completed", G_CALLBACK(onCompleted), dialog);
  polkit_agent_session_initiate(session);
}

void beginDialog(PolkitAgentListener* agent, const gchar* action, const gchar* message, const gchar* /*icon*/,
                 PolkitDetails* /*details*/, const gchar* cookie, GList* identities, GCancellable* cancellable,
                 GAsyncReadyCallback callback, gpointer data) {
  std::printf("%s\t%s\n", action, message);
  std::fflush(stdout);
  GTask* task = g_task_new(agent, cancellable, callback, data);
  std::string answer = answers[nextAnswer];
  if (nextAnswer + 1 < answers.size()) ++nextAnswer;
  if (answer == "cancel" || identities == nullptr) {
    g_task_return_new_error(task, POLKIT_ERROR, POLKIT_ERROR_CANCELLED, "dismissed");
    g_object_unref(task);
    return;
  }
  auto* identity = static_cast<PolkitIdentity*>(g_object_ref(identityFor(answer, identities)));
  tryPassword(new Dialog{task, identity, cookie, split(answer), 0});
}

gboolean endDialog(PolkitAgentListener* /*agent*/, GAsyncResult* result, GError** error) {
  return g_task_propagate_boolean(G_TASK(result), error);
}

void initializeClass(gpointer type, gpointer /*data*/) {
  auto* listenerClass = static_cast<PolkitAgentListenerClass*>(type);
  listenerClass->initiate_authentication = beginDialog;
  listenerClass->initiate_authentication_finish = endDialog;
}

PolkitAgentListener* makeListener() {
  const GType type =
      g_type_register_static_simple(POLKIT_AGENT_TYPE_LISTENER, "QmTestDesktopAgent", sizeof(PolkitAgentListenerClass),
                                    initializeClass, sizeof(PolkitAgentListener), nullptr, static_cast<GTypeFlags>(0));
  return static_cast<PolkitAgentListener*>(g_object_new(type, nullptr));
}

gboolean onInputClosed(gint /*fd*/, GIOCondition /*condition*/, gpointer /*data*/) { ::_exit(0); }

}  // namespace

int main(int count, char** arguments) {
  if (count < 4) return 2;
  answers.assign(arguments + 3, arguments + count);
  PolkitSubject* subject =
      polkit_unix_process_new_for_owner(static_cast<int>(::strtol(arguments[1], nullptr, 10)),
                                        ::strtoull(arguments[2], nullptr, 10), static_cast<gint>(::getuid()));
  GError* error = nullptr;
  if (polkit_agent_listener_register(makeListener(), POLKIT_AGENT_REGISTER_FLAGS_NONE, subject, nullptr, nullptr,
                                     &error) == nullptr) {
    std::fprintf(stderr, "test-desktop-agent: %s\n", error->message);
    return 1;
  }
  std::printf("ready\n");
  std::fflush(stdout);
  g_unix_fd_add(STDIN_FILENO, G_IO_HUP, onInputClosed, nullptr);
  g_main_loop_run(g_main_loop_new(nullptr, FALSE));
}

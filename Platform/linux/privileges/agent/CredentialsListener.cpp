// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/agent/CredentialsListener.h"

#include <algorithm>
#include <string_view>

namespace {

using qm::linux_::AnsweredActions;
using qm::linux_::Credentials;

// The members of the GObject class. GObject allocates them, zeroed, and frees them.
struct Listener {
  PolkitAgentListener parent;
  Credentials* credentials;
  const AnsweredActions* actions;
  void (*finished)(void*);
  void* context;
  bool used;
};

// One dialog, from the question to its end.
struct Dialog {
  PolkitAgentSession* session;
  Listener* listener;
  bool answered;
};

bool isAnswered(const AnsweredActions& actions, const char* action) {
  return std::ranges::find(actions, std::string_view(action)) != actions.end();
}

bool isNamed(PolkitIdentity* identity, const char* user) {
  if (!POLKIT_IS_UNIX_USER(identity)) return false;
  const char* name = polkit_unix_user_get_name(POLKIT_UNIX_USER(identity));
  return name != nullptr && std::string_view(name) == user;
}

PolkitIdentity* findIdentity(GList* identities, const char* user) {
  for (GList* entry = identities; entry != nullptr; entry = entry->next) {
    auto* identity = static_cast<PolkitIdentity*>(entry->data);
    if (isNamed(identity, user)) return identity;
  }
  return nullptr;
}

// The password is sent once; a second request means that it was not accepted.
void onRequest(PolkitAgentSession* session, gchar* /*text*/, gboolean /*echo*/, gpointer data) {
  auto* dialog = static_cast<Dialog*>(data);
  if (dialog->answered) return polkit_agent_session_cancel(session);
  dialog->answered = true;
  polkit_agent_session_response(session, dialog->listener->credentials->password());
  dialog->listener->credentials->wipePassword();
}

void onCompleted(PolkitAgentSession* /*session*/, gboolean /*gained*/, gpointer data) {
  auto* task = static_cast<GTask*>(data);
  auto* dialog = static_cast<Dialog*>(g_task_get_task_data(task));
  g_task_return_boolean(task, TRUE);
  dialog->listener->finished(dialog->listener->context);
  g_object_unref(task);
}

void freeDialog(gpointer data) {
  auto* dialog = static_cast<Dialog*>(data);
  g_object_unref(dialog->session);
  g_object_unref(dialog->listener);
  delete dialog;
}

void refuse(GTask* task, Listener* listener) {
  g_task_return_new_error(task, POLKIT_ERROR, POLKIT_ERROR_FAILED, "These credentials are not for this dialog");
  listener->finished(listener->context);
  g_object_unref(task);
}

void beginDialog(PolkitAgentListener* agent, const gchar* action, const gchar* /*message*/, const gchar* /*icon*/,
                 PolkitDetails* /*details*/, const gchar* cookie, GList* identities, GCancellable* cancellable,
                 GAsyncReadyCallback callback, gpointer data) {
  auto* listener = reinterpret_cast<Listener*>(agent);
  GTask* task = g_task_new(agent, cancellable, callback, data);
  PolkitIdentity* identity = findIdentity(identities, listener->credentials->user());
  if (listener->used || identity == nullptr || !isAnswered(*listener->actions, action)) return refuse(task, listener);
  listener->used = true;
  g_object_ref(agent);
  auto* dialog = new Dialog{polkit_agent_session_new(identity, cookie), listener, false};
  g_task_set_task_data(task, dialog, freeDialog);
  g_signal_connect(dialog->session, "request", G_CALLBACK(onRequest), dialog);
  g_signal_connect(dialog->session, "completed", G_CALLBACK(onCompleted), task);
  polkit_agent_session_initiate(dialog->session);
}

gboolean endDialog(PolkitAgentListener* /*agent*/, GAsyncResult* result, GError** error) {
  return g_task_propagate_boolean(G_TASK(result), error);
}

void initializeClass(gpointer type, gpointer /*data*/) {
  auto* listenerClass = static_cast<PolkitAgentListenerClass*>(type);
  listenerClass->initiate_authentication = beginDialog;
  listenerClass->initiate_authentication_finish = endDialog;
}

GType listenerType() {
  static const GType type = g_type_register_static_simple(POLKIT_AGENT_TYPE_LISTENER, "QmCredentialsListener",
                                                          sizeof(PolkitAgentListenerClass), initializeClass,
                                                          sizeof(Listener), nullptr, static_cast<GTypeFlags>(0));
  return type;
}

}  // namespace

namespace qm::linux_ {

PolkitAgentListener* makeCredentialsListener(Credentials& credentials, const AnsweredActions& actions,
                                             void (*finished)(void*), void* context) {
  auto* listener = static_cast<Listener*>(g_object_new(listenerType(), nullptr));
  listener->credentials = &credentials;
  listener->actions = &actions;
  listener->finished = finished;
  listener->context = context;
  return &listener->parent;
}

}  // namespace qm::linux_

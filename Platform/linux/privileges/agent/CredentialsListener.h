// SPDX-License-Identifier: MIT
#pragma once

#include <glib-object.h>
#include <polkitagent/polkitagent.h>

#include <array>
#include <string_view>

#include "Platform/linux/privileges/agent/Credentials.h"

namespace qm::linux_ {

/// The polkit actions whose dialogs the agent answers.
using AnsweredActions = std::array<std::string_view, 3>;

/// Creates an agent that sends the credentials to the first dialog, if that is for one of the actions. It refuses every
/// other dialog. `finished` is called when that dialog has ended. All arguments must outlive the listener. Free it with
/// g_object_unref.
PolkitAgentListener* makeCredentialsListener(Credentials& credentials, const AnsweredActions& actions,
                                             void (*finished)(void*), void* context);

}  // namespace qm::linux_

#pragma once

#include <glib-object.h>
#include <polkitagent/polkitagent.h>

#include "Platform/linux/privileges/agent/Credentials.h"

namespace qm::linux_ {

/// An agent that answers the first dialog with the credentials and refuses any other. `finished` is called
/// when that dialog has ended. Both outlive the listener. Free it with g_object_unref.
PolkitAgentListener* makeCredentialsListener(Credentials& credentials, void (*finished)(void*), void* context);

}  // namespace qm::linux_

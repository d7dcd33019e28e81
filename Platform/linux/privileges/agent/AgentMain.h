#pragma once

#include "Platform/ProductIdentity.h"

namespace qm::linux_ {

/// The agent for credentials, from its start to its status: "PROGRAM PROCESS START-TIME". It answers one password
/// dialog for the application that started it: registers for that process, reads name and password from standard input,
/// writes "ready" to standard output and ends after the dialog or when standard input is closed. Only dialogs of the
/// product's actions, and of polkit's own for programs without one, are answered.
int runCredentialsAgent(const platform::ProductIdentity& product, int count, char** arguments);

}  // namespace qm::linux_

// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/ProductIdentity.h"

namespace qm::linux_ {

/// The main function of the credentials agent: "PROGRAM PROCESS START-TIME". It answers one password dialog for the
/// application that started it. It registers for that process, reads name and password from standard input, writes
/// "ready" to standard output and ends after the dialog or when standard input is closed. It answers only dialogs for
/// the product's polkit actions, and for the general action of polkit that pkexec uses for programs without an action
/// of their own.
int runCredentialsAgent(const platform::ProductIdentity& product, int count, char** arguments);

}  // namespace qm::linux_

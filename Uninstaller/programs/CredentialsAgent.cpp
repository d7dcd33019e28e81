// SPDX-License-Identifier: MIT

// Answers one password dialog for the application that started it.

#include "Platform/linux/privileges/agent/AgentMain.h"
#include "Uninstaller/Product.h"

int main(int count, char** arguments) { return qm::linux_::runCredentialsAgent(kProduct, count, arguments); }

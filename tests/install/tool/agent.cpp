// SPDX-License-Identifier: MIT
#include <Platform/linux/privileges/agent/AgentMain.h>

#include "Product.h"

int main(int count, char** arguments) { return qm::linux_::runCredentialsAgent(kTidy, count, arguments); }

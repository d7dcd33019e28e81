// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "Uninstaller/RemovalRun.h"

/// Whether an item stayed because administrator rights were missing. If the system had another reason, it does not
/// matter that they were refused.
bool stayedWithoutRights(const ItemResult& result);

/// Why an item stayed, in full sentences and in English; never "".
std::string reasonToStay(const ItemResult& result);

/// Each item that stayed, followed by the reason on a line of its own, in the user's language. "" if none did.
std::string removalDetails(const std::vector<ItemResult>& stayed);

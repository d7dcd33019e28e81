#pragma once

#include <string>
#include <vector>

#include "Uninstaller/RemovalRun.h"

/// Whether administrator rights are what an item stayed for want of. Where the system wanted something else, it counts
/// for nothing that they were refused.
bool stayedForWantOfRights(const ItemResult& result);

/// Why an item stayed, in whole sentences; never "".
std::string reasonToStay(const ItemResult& result);

/// Each item that stayed, with the reason on a line of its own below it. "" where none did.
std::string removalDetails(const std::vector<ItemResult>& stayed);

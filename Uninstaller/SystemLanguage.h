// SPDX-License-Identifier: MIT
#pragma once

#include "Uninstaller/Language.h"

namespace qm::uninstaller {

/// The user's language, as the system's settings name it, with the catalogue that is installed with the program.
/// English if there is none. The first call makes it, before there is another thread. Never destroyed.
const Language& systemLanguage();

}  // namespace qm::uninstaller

// SPDX-License-Identifier: MIT
#include "Uninstaller/SystemLanguage.h"

/// The interface file is in English, and so is everything else: two languages in one window help nobody.
const qm::uninstaller::Language& qm::uninstaller::systemLanguage() { return english(); }

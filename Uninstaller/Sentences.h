// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "Uninstaller/Language.h"

namespace qm::uninstaller {

/// Whole English sentences with placeholders, which are keys of the catalogue. A "{why}" stands for a clause that is a
/// key of the catalogue too, or for the system's words; a "{reason}" is any sentence; a "{system}" is the system's
/// words.
using Sentences = std::span<const std::string_view>;

/// Translates an English sentence that a service, a program with administrator rights or this program has made. Such a
/// sentence goes to log and journal as it is, and may come from another process. So the finished sentence is matched
/// against the sentences with placeholders, and the one that fits is translated. `further` are sentences of the
/// caller's own. A sentence that is not known stays English.
std::string inLanguage(const Language& language, std::string_view sentence, Sentences further = {});

/// The same; null if the sentence is none of the listed ones and none of `further`.
std::optional<std::string> knownInLanguage(const Language& language, std::string_view sentence, Sentences further = {});

}  // namespace qm::uninstaller

// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace qm::testing {

/// A name of work in progress.
bool isLeftoverName(const std::string& name);

/// For messages: without the digits that make such a name unique.
std::string shownName(const std::string& name);

/// The names in a folder except `known`, sorted.
std::vector<std::string> othersIn(const std::string& folder, const std::vector<std::string>& known);

/// What is in a folder besides `known` and folders of work in progress that are root's alone; empty for nothing.
std::string strayIn(const std::string& folder, const std::vector<std::string>& known);

}  // namespace qm::testing

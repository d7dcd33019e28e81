// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/fakes/FakeDisk.h"

namespace qm::testing {

/// The effect of a tool that is run with these arguments.
using ToolEffect = std::function<void(const std::vector<std::string>& arguments)>;

/// The effects of /bin/mv, /bin/cp, /bin/rm, /bin/mkdir and /usr/bin/touch on the fake disk with an administrator's
/// rights, for the options with which this program runs them: mv -f, cp -f -p -R, rm -R -f (or -Rdf), mkdir -p, touch.
/// A destination that is a folder receives the item, an existing file is replaced. Other tools have no effect: the
/// result is then empty.
ToolEffect fileCommand(const std::string& tool, FakeDisk& disk);

}  // namespace qm::testing

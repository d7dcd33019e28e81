// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/posix/rights/Refusal.h"

namespace qm::linux_ {

using posix::Answer;
using posix::Refusal;
using posix::refusalFor;

}  // namespace qm::linux_

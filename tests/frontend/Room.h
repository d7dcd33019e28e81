// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

class QWidget;

namespace qm::testing {

/// The names of a window's visible controls whose text is wider or higher than the control has room for. Paths in a
/// list are shortened on purpose and do not count.
std::vector<std::string> withoutRoom(const QWidget& window);

}  // namespace qm::testing

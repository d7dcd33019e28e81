// SPDX-License-Identifier: MIT
#include "Platform/posix/rights/RightfulCopies.h"

#include <initializer_list>

#include "Platform/posix/rights/RightsForPaths.h"

namespace qm::posix {

CopyRights rightsForCopies(const platform::Users& users) {
  return [&users](const std::string& source, const std::string& destination) -> std::shared_ptr<void> {
    const std::initializer_list<std::string> paths = {source, destination};
    auto rights = std::make_shared<RightsForPaths>(users, paths);
    return rights->mayUsePaths() ? rights : nullptr;
  };
}

}  // namespace qm::posix

// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

namespace qm::linux_ {

struct FreePlistNode {
  void operator()(void* node) const;
};
/// The root node of a property list in libplist.
using PlistDocument = std::unique_ptr<void, FreePlistNode>;

/// A property list of at most 1 MiB, XML or binary; null if there is no valid one. Links are followed.
PlistDocument readPlistDocument(const std::string& path);

}  // namespace qm::linux_

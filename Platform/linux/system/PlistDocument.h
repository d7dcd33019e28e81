#pragma once

#include <memory>
#include <string>

namespace qm::linux_ {

struct FreePlistNode {
  void operator()(void* node) const;
};
/// The root of a property list in libplist's own form.
using PlistDocument = std::unique_ptr<void, FreePlistNode>;

/// A property list of at most 1 MiB, XML or binary; null when there is none that is sound. Links are followed.
PlistDocument readPlistDocument(const std::string& path);

}  // namespace qm::linux_

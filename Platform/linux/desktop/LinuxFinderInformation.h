// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>

#include "Platform/FinderInformation.h"

namespace qm::linux_ {

/// The extended attribute that holds the Finder information on a volume with this type, as statfs returns it.
const char* finderAttributeOn(unsigned long volumeType);

/// The Finder information is 32 bytes in an extended attribute. On the Mac's own volumes (HFS+) it is the attribute by
/// which the kernel shows what the volume's catalog stores about the item; elsewhere it is "user.com.apple.FinderInfo",
/// the name under which Mac files that are copied to other systems keep it. The flags are the big-endian word at byte
/// 8, both in a file's information and in a folder's.
///
/// An attribute of another size is not ours: it is neither read nor overwritten. Links and devices have such an
/// attribute only on the Mac's volumes.
class LinuxFinderInformation : public platform::FinderInformation {
 public:
  std::optional<std::uint16_t> finderFlags(const platform::FileReference& reference) const override;
  platform::Status setFinderFlags(const platform::FileReference& reference, std::uint16_t flags) override;
};

}  // namespace qm::linux_

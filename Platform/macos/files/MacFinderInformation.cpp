// SPDX-License-Identifier: MIT
#include <cerrno>

#include "Platform/macos/MacServices.h"
#include "Platform/macos/files/FileRules.h"
#include "Platform/macos/files/NumberedItem.h"
#include "Platform/posix/FileMessages.h"
#include "Platform/posix/FinderBytes.h"
#include "Platform/posix/rights/RightsForPaths.h"

namespace qm::macos {
namespace {

using posix::FileAction;

auto getterOf(const NumberedItem& item) {
  return [&item](unsigned char* bytes, std::size_t size) { return item.finderInformation(bytes, size); };
}

int writeFlags(const NumberedItem& item, std::uint16_t flags, bool isRoot) {
  const auto status = item.status();
  if (!status) return errno;
  if (const int obstacle = obstacleToChanging(*status, isRoot)) return obstacle;
  const auto set = [&](const unsigned char* bytes, std::size_t size) { return item.setFinderInformation(bytes, size); };
  return posix::writeFinderFlags(getterOf(item), set, flags, kNoAttribute);
}

class MacFinderInformation final : public platform::FinderInformation {
 public:
  explicit MacFinderInformation(const platform::Users& users) : users_(users) {}

  std::optional<std::uint16_t> finderFlags(const platform::FileReference& reference) const override {
    const NumberedItem* const item = NumberedItem::in(reference);
    posix::FinderBytes bytes{};
    if (item == nullptr || posix::readFinderBytes(getterOf(*item), bytes, kNoAttribute) != 0) return std::nullopt;
    return posix::finderFlagsIn(bytes);
  }

  /// The rights are also those for the path that the reference was made of, because the item may have been another
  /// user's that somebody had linked there for a moment.
  platform::Status setFinderFlags(const platform::FileReference& reference, std::uint16_t flags) override {
    const NumberedItem* const item = NumberedItem::in(reference);
    const auto path = item == nullptr ? std::nullopt : item->path();
    if (!path) return posix::statusOf(FileAction::Label, ENOENT, "");
    const posix::RightsForPaths rights(users_, {item->origin(), *path});
    const int error = rights.mayUsePaths() ? writeFlags(*item, flags, users_.realUserId() == 0) : EPERM;
    return posix::statusOf(FileAction::Label, error, *path);
  }

 private:
  const platform::Users& users_;
};

}  // namespace

std::unique_ptr<platform::FinderInformation> makeFinderInformation(const platform::Users& users) {
  return std::make_unique<MacFinderInformation>(users);
}

}  // namespace qm::macos

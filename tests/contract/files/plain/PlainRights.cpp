// SPDX-License-Identifier: MIT
#include "tests/contract/files/plain/PlainRights.h"

#include <sys/stat.h>

#include <set>
#include <utility>

#include "Platform/posix/OwnItem.h"
#include "Platform/posix/rights/SystemRights.h"

namespace qm::testing::plain {
namespace {

using Number = std::pair<dev_t, ino_t>;
std::set<Number> withList;

}  // namespace

void giveListThatGrantsWriting(const std::string& folder) {
  struct stat found {};
  if (::stat(folder.c_str(), &found) == 0) withList.insert({found.st_dev, found.st_ino});
}

}  // namespace qm::testing::plain

namespace qm::posix {

namespace plain = testing::plain;

bool isUserSpaceFileSystem(int /*folder*/) { return false; }

bool hasListThatGrantsWriting(int folder) {
  struct stat found {};
  return ::fstat(folder, &found) != 0 || plain::withList.contains({found.st_dev, found.st_ino});
}

std::optional<std::string> readLink(int item, int folder, const std::string& name) {
  return readOwnLinkText(item, folder, name);
}

}  // namespace qm::posix

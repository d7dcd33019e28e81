// SPDX-License-Identifier: MIT
#include "tests/contract/files/plain/PlainRights.h"

#include <set>

#include "Platform/posix/OwnItem.h"
#include "Platform/posix/rights/SystemRights.h"
#include "Platform/posix/rights/Writers.h"

namespace qm::testing::plain {
namespace {

std::set<ino_t> listed;

ino_t numberOf(int folder) {
  const auto status = posix::statusOf(folder);
  return status ? status->st_ino : 0;
}

}  // namespace

void letListGrantWriting(int folder) { listed.insert(numberOf(folder)); }

}  // namespace qm::testing::plain

namespace qm::posix {

bool isUserSpaceFileSystem(int /*folder*/) { return false; }

bool hasListThatGrantsWriting(int folder) { return testing::plain::listed.contains(testing::plain::numberOf(folder)); }

std::optional<std::string> readLink(int item, int folder, const std::string& name) {
  return readOwnLinkText(item, folder, name);
}

}  // namespace qm::posix

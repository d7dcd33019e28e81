// SPDX-License-Identifier: MIT
#include "tests/privileges/MoveMachine.h"

#include <sys/syscall.h>

#include <sstream>

#include "Platform/foundation/PathComponents.h"
#include "Platform/linux/rights/PathWalk.h"
#include "Platform/linux/trash/DesktopTrash.h"
#include "Uninstaller/Product.h"

namespace qm::testing {

linux_::TrashUser MoveMachine::trashUser() { return linux_::trashUserFor(person(), kProduct.workFolderPrefix); }

linux_::SharedTrashDirectory MoveMachine::openedTrash() {
  linux_::OpenedTrash opened = linux_::openShownTrash(trashUser(), linux_::MissingTrash::StaysMissing);
  EXPECT_TRUE(opened);
  return *opened;
}

linux_::SharedTrashDirectory MoveMachine::trashWith(const std::string& path, const std::string& topFolder) {
  const linux_::SharedTrashDirectory own = openedTrash();
  linux_::TrashDirectory other{posix::duplicate(own->folder),
                               posix::duplicate(own->files),
                               posix::duplicate(own->info),
                               own->folderIdentity,
                               own->filesIdentity,
                               own->infoIdentity,
                               path,
                               topFolder,
                               own->nameLimit,
                               own->workFolderPrefix};
  return std::make_shared<const linux_::TrashDirectory>(std::move(other));
}

linux_::RootMove MoveMachine::moveOf(const std::string& path) {
  auto place = linux_::pinPath(path, linux_::LastLink::Stays);
  EXPECT_TRUE(place);
  return {path,
          std::move(*place),
          openedTrash(),
          trashUser().identity,
          foundation::lastPathComponent(path),
          "2024-02-29T23:05:07"};
}

MoveMachine::Result MoveMachine::resultOf(linux_::RootMove& move) {
  Result result;
  result.error = move.run(&result.note).code;
  return result;
}

MoveMachine::Result MoveMachine::moved(const std::string& path) {
  linux_::RootMove move = moveOf(path);
  EXPECT_EQ(move.obstacle().code, 0);
  return resultOf(move);
}

void MoveMachine::mend() { linux_::mendRootMoves(trashUser()); }

void MoveMachine::failRenames(const std::vector<FailedRename>& failed) {
  watchSystemCalls({SYS_renameat2}, [failed](const SystemCall& call) {
    for (const FailedRename& one : failed) {
      if (call.text(1) == one.from && call.text(3) == one.to) return one.error;
    }
    return 0;
  });
}

std::string MoveMachine::actingUser() {
  std::istringstream status(contentsOf("/proc/self/status"));
  for (std::string word; status >> word;) {
    std::string real, effective, saved, fileSystem;
    if (word == "Uid:" && status >> real >> effective >> saved >> fileSystem) return fileSystem;
  }
  return "";
}

std::string MoveMachine::bundleOnVolume() {
  mountTmpfs(volume(), "mode=0755");
  makeBundle(volume() + "/Tessaly.app");
  return volume() + "/Tessaly.app";
}

void MoveMachine::expectAsMade(const std::string& bundle) {
  EXPECT_EQ(namesIn(bundle + "/.."), std::vector<std::string>{"Tessaly.app"});
  EXPECT_EQ(namesIn(bundle + "/Contents"), (std::vector<std::string>{"link", "secret", "tool"}));
  EXPECT_EQ(contentsOf(bundle + "/Contents/secret"), "secret");
  EXPECT_EQ(ownerOf(bundle + "/Contents"), 0U);
  EXPECT_EQ(modeOf(bundle + "/Contents/tool"), 04755U);
}

std::vector<std::string> MoveMachine::leftInTrash() {
  std::vector<std::string> names = namesIn(trash());
  std::erase_if(names, [](const std::string& name) { return name == "files" || name == "info"; });
  return names;
}

}  // namespace qm::testing

// SPDX-License-Identifier: MIT
#include "tests/privileges/TrashMachine.h"

#include "tests/support/PrivateMachine.h"

namespace qm::testing {

void TrashMachine::run(const std::function<void()>& body) {
  runInPrivateMachine([&] {
    makeFolder(home(), kPerson);
    for (const std::string folder : {"/.local", "/.local/share"}) makeFolder(home() + folder, kPerson);
    for (const std::string& folder : {trash(), files(), trash() + "/info"}) makeFolder(folder, kPerson, 0700);
    makeLink(home() + "/.Trash", ".local/share/Trash/files", kPerson);
    makeFolder(applications());
    body();
  });
}

void TrashMachine::makeBundle(const std::string& path) {
  makeFolder(path);
  makeFolder(path + "/Contents", 0, 0555);
  makeFile(path + "/Contents/secret", "secret", 0, 0600);
  makeFile(path + "/Contents/tool", "tool", 0, 04755);
  makeLink(path + "/Contents/link", "/etc");
}

Outcome TrashMachine::trashItem(const std::string& name) { return trashPath(applications() + "/" + name); }

Outcome TrashMachine::trashPath(const std::string& path) {
  return launch("/bin/mv", {"-f", path, home() + "/.Trash" + path.substr(path.rfind('/'))});
}

void TrashMachine::expectEmptyTrash() {
  EXPECT_EQ(namesIn(files()), std::vector<std::string>{});
  EXPECT_EQ(namesIn(trash() + "/info"), std::vector<std::string>{});
  expectNoLeftovers();
}

void TrashMachine::expectNoLeftovers() { EXPECT_EQ(namesIn(trash()), (std::vector<std::string>{"files", "info"})); }

}  // namespace qm::testing

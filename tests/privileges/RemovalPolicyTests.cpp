// SPDX-License-Identifier: MIT

// What the uninstaller's administrator rights allow, and what they refuse.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "Uninstaller/Product.h"
#include "Uninstaller/helper/RemovalPolicy.h"
#include "tests/privileges/TrashMachine.h"

namespace qm::testing {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;
using ::testing::SizeIs;

class RightsOfTheUninstaller : public TrashMachine {
 protected:
  static Outcome ask(const std::string& tool, const std::vector<std::string>& arguments) {
    return launch(RemovalPolicy(kProduct), tool, arguments);
  }
  static Outcome trashWithThem(const std::string& path) {
    return ask("/bin/mv", {"-f", path, home() + "/.Trash" + path.substr(path.rfind('/'))});
  }
  static std::string caches() { return home() + "/Library/Caches"; }

  static void makeCaches() {
    makeFolder(home() + "/Library", kPerson);
    makeFolder(caches(), kPerson);
    makeFolder(caches() + "/com.quillmark.tessaly");
  }
};

TEST_F(RightsOfTheUninstaller, AreForTheItemsOfTheProduct) {
  run([] {
    const std::vector<std::string> paths = productItemPaths(person());
    EXPECT_THAT(paths, SizeIs(12));
    EXPECT_THAT(paths, IsSupersetOf({"/Applications/Quillmark/Tessaly.app", "/Applications/Tessaly.app",
                                     "/Library/Preferences/com.quillmark.Tessaly.plist"}));
    EXPECT_THAT(paths, Contains(home() + "/Library/Application Support/Quillmark/Tessaly/Caches"));
    EXPECT_THAT(paths, Contains(home() + "/Library/LaunchAgents/com.quillmark.OrvendelProjectWatcher.plist"));
    EXPECT_EQ(makersFolderPath(person()), "/Applications/Quillmark");
  });
}

TEST_F(RightsOfTheUninstaller, MoveAnItemToThePersonsTrash) {
  run([] {
    makeCaches();
    EXPECT_TRUE(trashWithThem(caches() + "/com.quillmark.tessaly").succeeded());
    EXPECT_TRUE(exists(files() + "/com.quillmark.tessaly"));
  });
}

TEST_F(RightsOfTheUninstaller, MoveNothingElse) {
  run([] {
    makeCaches();
    makeFolder(caches() + "/com.quillmark.orvendel");
    makeFile(caches() + "/com.quillmark.tessaly/inner", "");
    for (const std::string& path :
         {caches() + "/com.quillmark.orvendel", caches() + "/com.quillmark.tessaly/inner", std::string("/etc/passwd"),
          caches() + "/../Caches/com.quillmark.tessaly", caches() + "/com.quillmark.tessaly/",
          std::string("/home/other/Library/Caches/com.quillmark.tessaly"), std::string("/Applications")}) {
      const Outcome outcome = trashWithThem(path);
      EXPECT_EQ(outcome.error, EPERM) << path;
    }
    EXPECT_EQ(trashWithThem(caches() + "/com.quillmark.orvendel").reason,
              caches() + "/com.quillmark.orvendel: that is no part of the product");
    EXPECT_TRUE(exists(caches() + "/com.quillmark.tessaly/inner"));
    expectEmptyTrash();
  });
}

TEST_F(RightsOfTheUninstaller, MoveNothingElsewhere) {
  run([] {
    makeCaches();
    const std::string item = caches() + "/com.quillmark.tessaly";
    for (const std::string& place : {std::string("/etc/cron.d/item"), home() + "/item", home() + "/.Trash/../item",
                                     home() + "/.Trash/", home() + "/.Trash/sub/item", home() + "/.Trash/.."}) {
      const Outcome outcome = ask("/bin/mv", {"-f", item, place});
      EXPECT_EQ(outcome.error, EPERM) << place;
      EXPECT_EQ(outcome.reason, place + ": that is not your Trash");
    }
    EXPECT_TRUE(exists(item));
  });
}

TEST_F(RightsOfTheUninstaller, StartNoProgram) {
  run([] {
    makeFile(machineFolder() + "/precious", "precious");
    const std::vector<std::vector<std::string>> commands = {{"/bin/cp", "-f", "/etc/shadow", machineFolder() + "/copy"},
                                                            {"/bin/sh", "-c", "id > " + machineFolder() + "/ran"},
                                                            {"/usr/bin/touch", "-c", "/etc/passwd"},
                                                            {"/bin/mkdir", "-p", machineFolder() + "/made"},
                                                            {"/usr/bin/mv", "-f", "/a", home() + "/.Trash/a"}};
    for (const auto& command : commands) {
      const Outcome outcome = ask(command[0], {command.begin() + 1, command.end()});
      EXPECT_EQ(outcome.error, EPERM) << command[0];
      EXPECT_THAT(outcome.reason, HasSubstr("only the product's items are moved to your Trash, nothing else is done"));
    }
    EXPECT_EQ(namesIn(machineFolder()), (std::vector<std::string>{"applications", "home", "precious"}));
  });
}

TEST_F(RightsOfTheUninstaller, RemoveOnlyTheMakersFolder) {
  run([] {
    makeFolder(applications() + "/empty");
    for (const std::string& path : {applications() + "/empty", home(), std::string("/Applications"), std::string("/"),
                                    std::string("/Applications/Quillmark/../Other")}) {
      const Outcome outcome = ask("/bin/rm", {"-Rdf", path});
      EXPECT_EQ(outcome.error, EPERM) << path;
      EXPECT_EQ(outcome.reason, path + ": that is not the maker's folder");
    }
    EXPECT_EQ(ask("/bin/rm", {"-Rdf", "/Applications/Quillmark", "/etc"}).error, EPERM);
    EXPECT_TRUE(exists(applications() + "/empty"));
  });
}

TEST_F(RightsOfTheUninstaller, UnderstandNoOtherOptions) {
  run([] {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"-t", "/etc", "/a"}, {"--target-directory=/etc", "/a", "/b"}, {}, {"-f", "/a"}}) {
      EXPECT_EQ(ask("/bin/mv", arguments).error, EINVAL);
    }
  });
}

}  // namespace
}  // namespace qm::testing

// SPDX-License-Identifier: MIT
#include "Platform/linux/files/BundlePackages.h"
#include "tests/contract/files/RealFiles.h"

namespace qm::testing {
namespace {

linux_::BundlePackages packages;

TEST(PackagesOnDisk, AreFoldersWithAnExtensionOfBundles) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    for (const char* name : {"A.app", "B.APP", "c.prefPane", "d.wdgt", "e.tar.bundle", "f.kext", "g.rtfd", "h.pkg"}) {
      makeFolders(home + "/" + name);
      EXPECT_TRUE(packages.isFilePackage(home + "/" + name)) << name;
      EXPECT_TRUE(packages.isFilePackage(home + "/" + name + "/")) << name;
    }
    for (const char* name : {"plain", "app", ".app", "x.", "x.apps", "x.app.old", "x.txt"}) {
      makeFolders(home + "/" + name);
      EXPECT_FALSE(packages.isFilePackage(home + "/" + name)) << name;
    }
  });
}

TEST(PackagesOnDisk, AreFoldersWithAnInformationFile) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    makeFolders(home + "/with/Contents");
    makeFile(home + "/with/Contents/Info.plist");
    makeFolders(home + "/without/Contents");
    makeFolders(home + "/odd/Contents/Info.plist");
    EXPECT_TRUE(packages.isFilePackage(home + "/with"));
    EXPECT_FALSE(packages.isFilePackage(home + "/without"));
    EXPECT_FALSE(packages.isFilePackage(home + "/odd"));
  });
}

TEST(PackagesOnDisk, AreNeverFilesNorMissing) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    makeFile(home + "/file.app");
    EXPECT_FALSE(packages.isFilePackage(home + "/file.app"));
    EXPECT_FALSE(packages.isFilePackage(home + "/none.app"));
    EXPECT_FALSE(packages.isFilePackage(""));
    EXPECT_FALSE(packages.isFilePackage("/"));
    EXPECT_FALSE(packages.isFilePackage(home + std::string("/file.app\0", 10)));
  });
}

TEST(PackagesOnDisk, AreFoundThroughLinks) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    makeFolders(home + "/folder");
    ASSERT_EQ(::symlink("folder", (home + "/link.app").c_str()), 0);
    ASSERT_EQ(::symlink("nowhere", (home + "/dangling.app").c_str()), 0);
    EXPECT_TRUE(packages.isFilePackage(home + "/link.app"));
    EXPECT_FALSE(packages.isFilePackage(home + "/dangling.app"));
  });
}

}  // namespace
}  // namespace qm::testing

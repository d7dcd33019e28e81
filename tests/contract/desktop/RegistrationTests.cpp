// SPDX-License-Identifier: MIT

// A registered bundle as the desktop finds it: in the menu, for its documents, and started from there.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>

#include "Platform/linux/desktop/LinuxDesktopShell.h"
#include "Uninstaller/Product.h"
#include "tests/contract/desktop/DesktopMachine.h"
#include "tests/contract/system/RealTasks.h"
#include "tests/contract/system/WaitUntil.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const std::string kDocuments =
    "<key>CFBundleDocumentTypes</key><array>"
    "<dict><key>CFBundleTypeName</key><string>Tessaly</string><key>CFBundleTypeMIMETypes</key>"
    "<array><string>application/x-tessaly</string><integer>3</integer></array></dict>"
    "<string>none</string><dict/>"
    "<dict><key>CFBundleTypeMIMETypes</key><array><string>text/x-tessaly</string></array></dict></array>";

/// A user's desktop, and one bundle on it.
struct Menu {
  explicit Menu(std::string homeFolder, unsigned user = kPerson) : home(std::move(homeFolder)) {
    users.home = home;
    users.user = user;
    shell = std::make_unique<linux_::LinuxDesktopShell>(
        users, real.tasks, linux_::EntryMark{kProduct.bundleEntryKey, kProduct.bundleEntryPrefix});
  }

  platform::OSStatus add(const std::string& bundle) const { return shell->registerApplication(bundle); }
  std::string folder() const { return home + "/.local/share/applications"; }
  std::string entry(const std::string& name = kName) const { return textAt(folder() + "/" + name); }

  static inline const std::string kName = "quillmark-bundle-com.quillmark.Tessaly.desktop";
  std::string home;
  DesktopUsers users;
  RealTasks real;
  std::unique_ptr<linux_::LinuxDesktopShell> shell;
};

std::string usualKeys() {
  return key("CFBundleIdentifier", "com.quillmark.Tessaly") + key("CFBundleExecutable", "Program") +
         key("CFBundleName", "Tessaly");
}

void expectValid(const std::string& file) {
  const Ran ran = run({"/usr/bin/desktop-file-validate", "--no-hints", file});
  EXPECT_TRUE(ran.succeeded) << ran.output << textAt(file);
  EXPECT_EQ(ran.output, "");
}

Ran runWithHome(const std::string& home, std::vector<std::string> command) {
  command.insert(command.begin(), {"/usr/bin/env", "-i", "PATH=/usr/bin:/bin", "HOME=" + home, "OUT=" + home + "/out"});
  return run(command);
}

TEST(Registration, PutsABundleIntoTheMenu) {
  asPerson([](const std::string& home) {
    const Menu menu(home);
    makeBundle(home + "/Tessaly.app", usualKeys());
    EXPECT_EQ(menu.add(home + "/Tessaly.app/"), platform::noErr);
    EXPECT_THAT(menu.entry(), HasSubstr("\nName=Tessaly\nExec=\"" + home + "/Tessaly.app/Contents/MacOS/Program\"\n"));
    EXPECT_THAT(menu.entry(), HasSubstr("\nX-Quillmark-Bundle=" + home + "/Tessaly.app\n"));
    expectValid(menu.folder() + "/" + Menu::kName);
  });
}

TEST(Registration, IsNoneForAProductThatHasNoNamesForIt) {
  asPerson([](const std::string& home) {
    Menu menu(home);
    makeBundle(home + "/Tessaly.app", usualKeys());
    for (const linux_::EntryMark& mark : {linux_::EntryMark{"", "prefix-"}, linux_::EntryMark{"X-Key", ""}}) {
      menu.shell = std::make_unique<linux_::LinuxDesktopShell>(menu.users, menu.real.tasks, mark);
      EXPECT_EQ(menu.add(home + "/Tessaly.app"), platform::kLSUnknownErr);
    }
    EXPECT_FALSE(std::filesystem::exists(menu.folder()));
  });
}

TEST(Registration, ShowsInTheDesktopsDatabase) {
  asPerson([](const std::string& home) {
    const Menu menu(home);
    makeBundle(home + "/Tessaly.app", usualKeys() + kDocuments);
    EXPECT_EQ(menu.add(home + "/Tessaly.app"), platform::noErr);
    EXPECT_THAT(menu.entry(), HasSubstr("\nMimeType=application/x-tessaly;text/x-tessaly;\n"));
    EXPECT_THAT(menu.entry("mimeinfo.cache"), HasSubstr("\napplication/x-tessaly=" + Menu::kName + ";\n"));
    const Ran asked = runWithHome(home, {"/usr/bin/gio", "mime", "text/x-tessaly"});
    EXPECT_THAT(asked.output, HasSubstr(Menu::kName));
    expectValid(menu.folder() + "/" + Menu::kName);
  });
}

TEST(Registration, LeadsToTheProgramWhateverItsPathIs) {
  asPerson([](const std::string& home) {
    const Menu menu(home);
    const std::string bundle = home + "/It's \"100%\" $HOME `id` \\ %f ü;#.app";
    makeBundle(bundle, usualKeys() + kDocuments, "Program");
    EXPECT_EQ(menu.add(bundle), platform::noErr);
    expectValid(menu.folder() + "/" + Menu::kName);
    const Ran ran = runWithHome(home, {"/usr/bin/gio", "launch", menu.folder() + "/" + Menu::kName, home + "/a b.txt"});
    EXPECT_TRUE(ran.succeeded) << ran.output;
    const std::string expected = bundle + "/Contents/MacOS/Program\n" + home + "/a b.txt\n";
    EXPECT_TRUE(waitUntil([&] { return textAt(home + "/out") == expected; })) << textAt(home + "/out");
  });
}

TEST(Registration, TakesABundleAwayFromTheMenuWithItsProgram) {
  asPerson([](const std::string& home) {
    const Menu menu(home);
    makeBundle(home + "/Tessaly.app", usualKeys() + kDocuments);
    EXPECT_EQ(menu.add(home + "/Tessaly.app"), platform::noErr);
    fs::remove_all(home + "/Tessaly.app");
    const Ran asked = runWithHome(home, {"/usr/bin/gio", "mime", "text/x-tessaly"});
    EXPECT_EQ(asked.output.find(Menu::kName), std::string::npos) << asked.output;
  });
}

TEST(Registration, TakesThePlaceOfAnEarlierOne) {
  asPerson([](const std::string& home) {
    const Menu menu(home);
    makeBundle(home + "/Old.app", usualKeys());
    makeBundle(home + "/New.app", usualKeys());
    EXPECT_EQ(menu.add(home + "/Old.app"), platform::noErr);
    EXPECT_EQ(menu.add(home + "/New.app"), platform::noErr);
    EXPECT_THAT(menu.entry(), HasSubstr("X-Quillmark-Bundle=" + home + "/New.app\n"));
    EXPECT_THAT(namesIn(menu.folder()), ElementsAre("mimeinfo.cache", Menu::kName));
  });
}

TEST(Registration, NeverReplacesWhatSomebodyElsePutThere) {
  asPerson([](const std::string& home) {
    const Menu menu(home);
    const std::string file = menu.folder() + "/" + Menu::kName;
    makeBundle(home + "/Tessaly.app", usualKeys());
    writeText(file, "[Desktop Entry]\nType=Application\nName=Mine\nExec=/bin/true\n");
    EXPECT_EQ(menu.add(home + "/Tessaly.app"), platform::kLSUnknownErr);
    EXPECT_THAT(menu.entry(), HasSubstr("Name=Mine"));
    fs::remove(file);
    fs::create_symlink("/dev/null", file);
    EXPECT_EQ(menu.add(home + "/Tessaly.app"), platform::kLSUnknownErr);
    EXPECT_TRUE(fs::is_symlink(file));
    fs::remove(file);
    fs::create_directory(file);
    EXPECT_EQ(menu.add(home + "/Tessaly.app"), platform::kLSUnknownErr);
    EXPECT_THAT(namesIn(menu.folder()), ElementsAre(Menu::kName));
  });
}

TEST(Registration, NamesABundleByTheBestNameItHas) {
  asPerson([](const std::string& home) {
    const Menu menu(home);
    const std::string program =
        key("CFBundleExecutable", "Program") + key("CFBundleIdentifier", "com.quillmark.Tessaly");
    makeBundle(home + "/Folder.app", program);
    EXPECT_EQ(menu.add(home + "/Folder.app"), platform::noErr);
    EXPECT_THAT(menu.entry(), HasSubstr("\nName=Folder\n"));
    makeBundle(home + "/Folder.app", program + key("CFBundleName", "Short") + key("CFBundleDisplayName", "Für alle"));
    EXPECT_EQ(menu.add(home + "/Folder.app"), platform::noErr);
    EXPECT_THAT(menu.entry(), HasSubstr("\nName=Für alle\n"));
    makeBundle(home + "/Folder.app", program + key("CFBundleDisplayName", "") + "<key>CFBundleName</key><true/>");
    EXPECT_EQ(menu.add(home + "/Folder.app"), platform::noErr);
    EXPECT_THAT(menu.entry(), HasSubstr("\nName=Folder\n"));
  });
}

TEST(Registration, ShowsTheIconThatDesktopsCanShow) {
  asPerson([](const std::string& home) {
    const Menu menu(home);
    const std::string bundle = home + "/Tessaly.app";
    const std::string resources = bundle + "/Contents/Resources/";
    const auto iconWith = [&](const std::string& name) {
      makeBundle(bundle, usualKeys() + key("CFBundleIconFile", name));
      EXPECT_EQ(menu.add(bundle), platform::noErr);
      const std::string text = menu.entry();
      const auto begin = text.find("\nIcon=");
      return begin == std::string::npos ? "" : text.substr(begin + 6, text.find('\n', begin + 1) - begin - 6);
    };
    EXPECT_EQ(iconWith("App"), "") << "it is not there";
    writeText(resources + "App.icns", "");
    EXPECT_EQ(iconWith("App"), resources + "App.icns");
    EXPECT_EQ(iconWith("App.icns"), resources + "App.icns");
    writeText(resources + "App.png", "");
    EXPECT_EQ(iconWith("App.icns"), resources + "App.png");
    writeText(resources + "Other.jpg", "");
    EXPECT_EQ(iconWith("Other.jpg"), resources + "Other.jpg");
    writeText(home + "/secret.png", "");
    for (const std::string name : {"../../../secret.png", "..", ".", "", "../Resources"})
      EXPECT_EQ(iconWith(name), "") << name;
    fs::create_directory(resources + "Folder.png");
    EXPECT_EQ(iconWith("Folder"), "");
    ASSERT_EQ(::mkfifo((resources + "Pipe.png").c_str(), 0666), 0);
    EXPECT_EQ(iconWith("Pipe"), "") << "whoever opens it waits for ever";
  });
}

TEST(Registration, RefusesWhatIsNoApplication) {
  asPerson([](const std::string& home) {
    const Menu menu(home);
    writeText(home + "/file", "");
    fs::create_directory(home + "/Empty.app");
    makeBundle(home + "/Broken.app", "<key>", "Program");
    writeText(home + "/Array.app/Contents/Info.plist", "<plist version=\"1.0\"><array/></plist>");
    EXPECT_EQ(menu.add(home + "/none.app"), platform::fnfErr);
    EXPECT_EQ(menu.add("relative.app"), platform::fnfErr);
    for (const std::string name : {"/file", "/Empty.app", "/Broken.app", "/Array.app"})
      EXPECT_EQ(menu.add(home + name), platform::kLSNotAnApplicationErr) << name;
    EXPECT_THAT(namesIn(home + "/.local"), IsEmpty());
  });
}

TEST(Registration, RefusesABundleWithoutItsProgram) {
  asPerson([](const std::string& home) {
    const Menu menu(home);
    const std::string bundle = home + "/Tessaly.app";
    for (const std::string name : {"Missing", "", ".", "..", "../../../../bin/sh", "/bin/sh", "../MacOS/Program"}) {
      makeBundle(bundle, key("CFBundleExecutable", name));
      EXPECT_EQ(menu.add(bundle), platform::kLSNoExecutableErr) << name;
    }
    makeBundle(bundle, "<key>CFBundleExecutable</key><integer>1</integer>");
    EXPECT_EQ(menu.add(bundle), platform::kLSNoExecutableErr);
    makeBundle(bundle, key("CFBundleName", "Tessaly"));
    EXPECT_EQ(menu.add(bundle), platform::kLSNoExecutableErr);
    makeBundle(bundle, usualKeys());
    ASSERT_EQ(::chmod((bundle + "/Contents/MacOS/Program").c_str(), 0644), 0);
    EXPECT_EQ(menu.add(bundle), platform::kLSNoExecutableErr);
    EXPECT_THAT(namesIn(menu.folder()), IsEmpty());
  });
}

TEST(Registration, WritesNoEntryThatABundleDictates) {
  asPerson([](const std::string& home) {
    const Menu menu(home);
    const std::string hostile = "x&#10;Exec=/bin/rm -rf /&#10;[Desktop Action y]&#13;%s $(id) `id` &quot; \\n";
    makeBundle(home + "/Tessaly.app",
               key("CFBundleIdentifier", "com.quillmark.Tessaly") + key("CFBundleExecutable", "Program") +
                   key("CFBundleDisplayName", hostile) + key("CFBundleIconFile", hostile) +
                   "<key>CFBundleDocumentTypes</key><array><dict><key>CFBundleTypeMIMETypes</key><array><string>text/" +
                   hostile + "</string></array></dict></array>");
    EXPECT_EQ(menu.add(home + "/Tessaly.app"), platform::noErr);
    expectValid(menu.folder() + "/" + Menu::kName);
    const std::string text = menu.entry();
    EXPECT_EQ(text.find("\nExec=/bin/rm"), std::string::npos) << text;
    EXPECT_EQ(text.find("\n[Desktop Action"), std::string::npos) << text;
    EXPECT_THAT(text, HasSubstr("\nName=x Exec=/bin/rm -rf / [Desktop Action y] %s $(id) `id` \" \\\\n\n"));
  });
}

TEST(Registration, RefusesPathsThatAnEntryCannotHold) {
  asPerson([](const std::string& home) {
    const Menu menu(home);
    for (const std::string name : {"/a=b.app", "/a\xff.app", "/a\x01.app"}) {
      makeBundle(home + name, usualKeys());
      EXPECT_EQ(menu.add(home + name), platform::kLSUnknownErr) << name;
    }
    EXPECT_THAT(namesIn(menu.folder()), IsEmpty());
  });
}

TEST(Registration, SaysWhenTheMenuCannotBeChanged) {
  asPerson([](const std::string& home) {
    const Menu menu(home);
    makeBundle(home + "/Tessaly.app", usualKeys());
    writeText(home + "/.local", "in the way");
    EXPECT_EQ(menu.add(home + "/Tessaly.app"), platform::kLSUnknownErr);
    fs::remove(home + "/.local");
    fs::create_directories(menu.folder());
    ASSERT_EQ(::chmod(menu.folder().c_str(), 0555), 0);
    EXPECT_EQ(menu.add(home + "/Tessaly.app"), platform::kLSUnknownErr);
  });
}

TEST(Registration, GoesWhereTheEnvironmentKeepsThePersonsData) {
  asPerson([](const std::string& home) {
    ::setenv("XDG_DATA_HOME", (home + "/data").c_str(), 1);
    const Menu menu(home);
    makeBundle(home + "/Tessaly.app", usualKeys());
    EXPECT_EQ(menu.add(home + "/Tessaly.app"), platform::noErr);
    EXPECT_THAT(namesIn(home + "/data/applications"), ElementsAre("mimeinfo.cache", Menu::kName));
    EXPECT_THAT(namesIn(menu.folder()), IsEmpty());
  });
}

TEST(Registration, EndsAlthoughTheDatabasesToolWaitsAtAPipe) {
  asPerson([](const std::string& home) {
    const Menu menu(home);
    fs::create_directories(menu.folder());
    ASSERT_EQ(::mkfifo((menu.folder() + "/pipe.desktop").c_str(), 0600), 0);
    makeBundle(home + "/Tessaly.app", usualKeys() + kDocuments);
    EXPECT_EQ(menu.add(home + "/Tessaly.app"), platform::noErr);
    EXPECT_THAT(menu.entry(), HasSubstr("\nName=Tessaly\n"));
  });
}

TEST(Registration, DoesWithoutTheToolThatKeepsTheDatabase) {
  runInPrivateMachine([] {
    mountTmpfs(machineFolder() + "/bin");
    const std::string home = machineFolder() + "/home";
    makeBundle(home + "/Tessaly.app", usualKeys());
    inChild([&] {
      failSystemCall(SYS_execve, ENOENT);
      const Menu menu(home);
      EXPECT_EQ(menu.add(home + "/Tessaly.app"), platform::noErr);
      EXPECT_THAT(namesIn(menu.folder()), ElementsAre(Menu::kName));
    });
  });
}

TEST(RegistrationAsRoot, BelongsToThePersonAtTheConsole) {
  asRootForPerson([](const std::string& home) {
    const Menu menu(home, 0);
    const std::string bundle = machineFolder() + "/Tessaly.app";
    makeBundle(bundle, usualKeys() + kDocuments);
    EXPECT_EQ(menu.add(bundle), platform::noErr);
    EXPECT_THAT(namesIn(menu.folder()), ElementsAre("mimeinfo.cache", Menu::kName));
    for (const std::string path :
         {"/.local", "/.local/share/applications", "/.local/share/applications/mimeinfo.cache"}) {
      struct stat found {};
      ASSERT_EQ(::stat((home + path).c_str(), &found), 0) << path;
      EXPECT_EQ(found.st_uid, kPerson) << path;
    }
    expectValid(menu.folder() + "/" + Menu::kName);
  });
}

TEST(RegistrationAsRoot, GoesNowhereThatThePersonCouldNotGo) {
  asRootForPerson([](const std::string& home) {
    const Menu menu(home, 0);
    const std::string bundle = machineFolder() + "/Tessaly.app";
    makeBundle(bundle, usualKeys());
    fs::create_directory(machineFolder() + "/roots");
    fs::create_directories(home + "/.local/share");
    fs::create_directory_symlink(machineFolder() + "/roots", menu.folder());
    EXPECT_EQ(menu.add(bundle), platform::kLSUnknownErr);
    EXPECT_THAT(namesIn(machineFolder() + "/roots"), IsEmpty());
    ASSERT_EQ(::chmod((bundle + "/Contents/Info.plist").c_str(), 0600), 0);
    EXPECT_EQ(menu.add(bundle), platform::kLSNotAnApplicationErr) << "the person may not read it";
  });
}

TEST(RegistrationAsRoot, NeedsAPerson) {
  asRootForPerson([](const std::string& home) {
    Menu menu(home, 0);
    menu.users.console = std::nullopt;
    makeBundle(home + "/Tessaly.app", usualKeys());
    EXPECT_EQ(menu.add(home + "/Tessaly.app"), platform::kLSUnknownErr);
    menu.users.console = "u";
    inChild([&] {
      failSystemCall(SYS_setgroups, EPERM);
      EXPECT_EQ(menu.add(home + "/Tessaly.app"), platform::kLSUnknownErr) << "not with root's rights";
    });
    EXPECT_THAT(namesIn(menu.folder()), IsEmpty());
  });
}

}  // namespace
}  // namespace qm::testing

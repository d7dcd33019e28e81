// SPDX-License-Identifier: MIT
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "Uninstaller/AppController.h"
#include "tests/support/PlatformTest.h"

namespace qm::testing {

using Strings = std::vector<std::string>;

inline const std::string kFolder = "/Applications/Quillmark";
inline const std::string kTrashFiles = "/home/u/.local/share/Trash/files";

/// The items in the order in which they are removed.
inline const std::array<std::string, 12> kItems = {
    "/Applications/Quillmark/Tessaly.app",
    "/Applications/Tessaly.app",
    "/home/u/Library/Application Support/Quillmark/Tessaly/Caches",
    "/home/u/Library/Caches/com.quillmark.tessaly",
    "/home/u/Library/Preferences/com.quillmark.Tessaly.plist",
    "/home/u/Library/Preferences/com.quillmark.tessaly.plist",
    "/Library/Preferences/com.quillmark.Tessaly.plist",
    "/Library/Preferences/com.quillmark.tessaly.plist",
    "/home/u/Library/LaunchAgents/com.quillmark.Tessaly.plist",
    "/home/u/Library/LaunchAgents/com.quillmark.TessalyProjectWatcher.plist",
    "/home/u/Library/LaunchAgents/com.quillmark.Tessaly.autosave.plist",
    "/home/u/Library/LaunchAgents/com.quillmark.OrvendelProjectWatcher.plist",
};

inline bool isPreference(std::size_t index) { return index >= 4 && index < 8; }

/// Items that resemble the product's and do not belong to it.
inline const std::array<std::string, 5> kNeighbours = {
    "/Applications/Quillmark/Orvendel.app/Contents/Info.plist", "/Applications/Tessaly.app.old/data",
    "/home/u/Library/Preferences/com.quillmark.Orvendel.plist", "/home/u/Library/Caches/com.quillmark.orvendel/data",
    "/home/u/Library/LaunchAgents/com.quillmark.Tessaly.other.plist"};

inline bool isFolderItem(std::size_t index) { return index < 4; }

/// The file that identifies an item: its contents are its path.
inline std::string witness(std::size_t index) {
  return isFolderItem(index) ? kItems[index] + "/Contents/data" : kItems[index];
}

inline void installItem(FakeDisk& disk, std::size_t index) { disk.addFile(witness(index), witness(index)); }

inline void installProduct(FakeDisk& disk) {
  for (std::size_t index = 0; index < kItems.size(); ++index) installItem(disk, index);
}

inline void installNeighbours(FakeDisk& disk) {
  for (const std::string& file : kNeighbours) disk.addFile(file, file);
}

/// Whoever sends an action.
class Sender : public platform::ActionSender {};

/// A machine, the controller on its interface, and a test that is the main thread.
class AppControllerTest : public PlatformTest {
 protected:
  AppControllerTest() {
    controller.connect(fakes.interface.outlets());
    fakes.interface.removeConfigCheck.setState(uninstaller::kOnState);
  }

  /// From the click to the end.
  void run() {
    controller.uninstall(&sender);
    ASSERT_TRUE(fakes.mainThread.pumpUntil([this] { return fakes.userInterface.isTerminated(); }));
  }

  /// The calls of one operation, in order.
  Strings callsOf(const std::string& operation) const {
    Strings calls = fakes.calls.everything();
    std::erase_if(calls, [&](const std::string& call) { return !call.starts_with(operation + "("); });
    return calls;
  }

  /// The paths that were passed to the Trash, in order.
  Strings recycled() const {
    Strings paths;
    for (std::string call : callsOf("trash.recycle")) {
      call = call.substr(std::string("trash.recycle(").size());
      call.pop_back();
      paths.push_back(call.substr(0, call.find(", ")) + "/" + call.substr(call.rfind(", ") + 2));
    }
    return paths;
  }

  /// No change and no message: nothing that the file manager does.
  void expectUntouched() const {
    EXPECT_THAT(fakes.calls.log(), ::testing::IsEmpty());
    EXPECT_THAT(fakes.console.lines(), ::testing::IsEmpty());
  }

  Sender sender;
  AppController controller;
};

}  // namespace qm::testing

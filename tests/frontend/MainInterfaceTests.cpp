// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <QCheckBox>
#include <QCloseEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <QToolButton>
#include <QTreeWidget>
#include <string>
#include <vector>

#include "tests/fakes/FakePlatform.h"
#include "tests/frontend/MainInterfaceFixture.h"
#include "tests/support/ScopedPlatform.h"

namespace qm::testing {
namespace {

using ::testing::ElementsAre;

TEST_F(MainInterface, ConnectsEveryOutletBeforeItWakesItsOwner) {
  std::vector<std::string> order;
  uninstaller::Outlets connected;
  qt::MainInterface another(std::make_unique<RecordingOwner>(order, connected));
  EXPECT_THAT(order, ElementsAre("connect", "awakeFromNib"));
  EXPECT_NE(connected.windowMain, nullptr);
  EXPECT_NE(connected.removeSharedCheck, nullptr);
  EXPECT_NE(connected.removeConfigCheck, nullptr);
  EXPECT_NE(connected.windowProgress, nullptr);
  EXPECT_NE(connected.progressBar, nullptr);
  another.destroyWindows();
}

TEST_F(MainInterface, ShowsTheMainWindowOnly) {
  EXPECT_TRUE(window("windowMain").isVisible());
  EXPECT_FALSE(window("windowProgress").isVisible());
  EXPECT_TRUE(window("windowProgress").isWindow());
}

TEST_F(MainInterface, StartsWithThePreferencesKept) {
  EXPECT_EQ(outlets.removeConfigCheck->state(), uninstaller::kOffState);
  control<QCheckBox>("windowMain", "removeConfigCheck").click();
  EXPECT_EQ(outlets.removeConfigCheck->state(), uninstaller::kOnState);
}

TEST_F(MainInterface, KeepsTheOtherBoxTicked) {
  auto& box = control<QCheckBox>("windowMain", "removeSharedCheck");
  QTest::mouseClick(&box, Qt::LeftButton);
  EXPECT_TRUE(box.isChecked());
  box.setFocus();
  press(Qt::Key_Space);
  EXPECT_TRUE(box.isChecked());
  EXPECT_EQ(outlets.removeSharedCheck->state(), uninstaller::kOnState);
  EXPECT_EQ(control<QLabel>("windowMain", "removeSharedLabel").text(),
            "The Quillmark folder in Applications is removed if nothing is left in it");
}

TEST_F(MainInterface, UninstallsOnAClick) {
  QTest::mouseClick(&uninstallButton(), Qt::LeftButton);
  EXPECT_THAT(sent, ElementsAre("uninstall"));
}

TEST_F(MainInterface, CancelsOnAClick) {
  QTest::mouseClick(&control<QPushButton>("windowMain", "cancelButton"), Qt::LeftButton);
  EXPECT_THAT(sent, ElementsAre("cancel"));
}

TEST_F(MainInterface, UninstallsOnReturnFromTheStart) {
  EXPECT_EQ(focused(), "uninstallButton");
  press(Qt::Key_Return);
  EXPECT_THAT(sent, ElementsAre("uninstall"));
}

TEST_F(MainInterface, UninstallsOnReturnInACheckBox) {
  control<QCheckBox>("windowMain", "removeConfigCheck").setFocus();
  press(Qt::Key_Return);
  EXPECT_THAT(sent, ElementsAre("uninstall"));
}

TEST_F(MainInterface, UninstallsOnEnterInACheckBox) {
  control<QCheckBox>("windowMain", "removeConfigCheck").setFocus();
  press(Qt::Key_Enter);
  EXPECT_THAT(sent, ElementsAre("uninstall"));
}

TEST_F(MainInterface, PressesTheCancelButtonOnReturnWhenItHasTheFocus) {
  auto& cancel = control<QPushButton>("windowMain", "cancelButton");
  auto& uninstall = control<QPushButton>("windowMain", "uninstallButton");
  EXPECT_TRUE(uninstall.isDefault());
  cancel.setFocus();
  EXPECT_TRUE(cancel.isDefault());
  EXPECT_FALSE(uninstall.isDefault());
  press(Qt::Key_Return);
  EXPECT_THAT(sent, ElementsAre("cancel"));
}

class MainInterfaceControl : public MainInterface, public ::testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(Every, MainInterfaceControl,
                         ::testing::Values("removeConfigCheck", "removeSharedCheck", "planButton", "cancelButton",
                                           "uninstallButton"));

TEST_P(MainInterfaceControl, CancelsOnEscape) {
  control<QWidget>("windowMain", GetParam()).setFocus();
  press(Qt::Key_Escape);
  EXPECT_THAT(sent, ElementsAre("cancel"));
}

TEST_F(MainInterface, UninstallsOnceOnADoubleClick) {
  postClick(uninstallButton());
  postClick(uninstallButton(), QEvent::MouseButtonDblClick);
  handleWhatIsQueued();
  EXPECT_THAT(sent, ElementsAre("uninstall"));
}

TEST_F(MainInterface, UninstallsOnceWhenReturnIsPressedTwice) {
  postKey(uninstallButton(), Qt::Key_Return);
  postKey(uninstallButton(), Qt::Key_Return);
  handleWhatIsQueued();
  EXPECT_THAT(sent, ElementsAre("uninstall"));
}

TEST_F(MainInterface, DoesNotCancelWhatItHasStarted) {
  postKey(uninstallButton(), Qt::Key_Return);
  postKey(uninstallButton(), Qt::Key_Escape);
  postClick(control<QPushButton>("windowMain", "cancelButton"));
  post(window("windowMain"), new QCloseEvent);
  handleWhatIsQueued();
  EXPECT_THAT(sent, ElementsAre("uninstall"));
}

TEST_F(MainInterface, StartsNothingOnceItIsCancelled) {
  postKey(uninstallButton(), Qt::Key_Escape);
  postKey(uninstallButton(), Qt::Key_Return);
  post(window("windowMain"), new QCloseEvent);
  handleWhatIsQueued();
  EXPECT_THAT(sent, ElementsAre("cancel"));
}

TEST_F(MainInterface, KeepsTheChoiceThatItWasStartedWith) {
  postKey(uninstallButton(), Qt::Key_Return);
  postClick(control<QCheckBox>("windowMain", "removeConfigCheck"));
  handleWhatIsQueued();
  EXPECT_EQ(outlets.removeConfigCheck->state(), uninstaller::kOffState);
}

TEST_F(MainInterface, TakesNoActionWhileItIsHidden) {
  outlets.windowMain->orderOut();
  uninstallButton().click();
  window("windowMain").close();
  EXPECT_THAT(sent, ElementsAre());
}

TEST_F(MainInterface, IsNotStartedTwiceEvenWhenItIsShownAgain) {
  press(Qt::Key_Return);
  outlets.windowMain->makeKeyAndOrderFront();
  uninstallButton().click();
  EXPECT_THAT(sent, ElementsAre("uninstall"));
}

TEST_F(MainInterface, TakesTheLetterOfABoxBeforeTheKeyThatFollows) {
  QTest::keyClick(&uninstallButton(), Qt::Key_P, Qt::AltModifier);
  press(Qt::Key_Return);
  EXPECT_EQ(outlets.removeConfigCheck->state(), uninstaller::kOnState);
  EXPECT_THAT(sent, ElementsAre("uninstall"));
}

TEST_P(MainInterfaceControl, IsNotPressedByKeysThatAreHeld) {
  auto& widget = control<QWidget>("windowMain", GetParam());
  widget.setFocus();
  for (const auto key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space, Qt::Key_Escape}) {
    QTest::simulateEvent(&widget, true, key, Qt::NoModifier, QString(), true);
    QTest::keyRelease(&widget, key);
  }
  for (const auto key : {Qt::Key_U, Qt::Key_C, Qt::Key_P, Qt::Key_W}) {
    QTest::simulateEvent(&widget, true, key, Qt::AltModifier, QString(), true);
  }
  EXPECT_THAT(sent, ElementsAre());
  EXPECT_EQ(outlets.removeConfigCheck->state(), uninstaller::kOffState);
  EXPECT_FALSE(control<QToolButton>("windowMain", "planButton").isChecked());
}

TEST_F(MainInterface, IsNotPressedByAButtonThatWasHeldBefore) {
  postMouse(uninstallButton(), QEvent::MouseButtonRelease);
  postMouse(control<QCheckBox>("windowMain", "removeConfigCheck"), QEvent::MouseButtonRelease);
  handleWhatIsQueued();
  EXPECT_THAT(sent, ElementsAre());
  EXPECT_EQ(outlets.removeConfigCheck->state(), uninstaller::kOffState);
}

TEST_F(MainInterface, CancelsWhenTheMainWindowIsClosed) {
  EXPECT_FALSE(window("windowMain").close());
  EXPECT_THAT(sent, ElementsAre("cancel"));
  EXPECT_TRUE(window("windowMain").isVisible());
}

TEST_F(MainInterface, DoesNothingWhenTheProgressWindowIsClosed) {
  outlets.windowProgress->makeKeyAndOrderFront();
  auto& progress = window("windowProgress");
  EXPECT_FALSE(progress.close());
  QTest::keyClick(&progress, Qt::Key_Escape);
  QTest::keyClick(&progress, Qt::Key_Return);
  EXPECT_TRUE(progress.isVisible());
  EXPECT_THAT(sent, ElementsAre());
}

const std::string kApplication = "/Applications/Tessaly.app 5 B";
const std::string kPreferences = "/home/u/Library/Preferences/com.quillmark.Tessaly.plist 3 B";

TEST_F(MainInterfaceWithItems, LooksAtNothingUntilItIsAskedWhatWillBeMoved) {
  EXPECT_EQ(window("windowMain").findChild<QTreeWidget*>(), nullptr);
  EXPECT_THAT(calls(), ElementsAre());
}

TEST_F(MainInterfaceWithItems, ShowsWhatWillBeMovedAndHidesItAgain) {
  const int closed = window("windowMain").height();
  planButton().click();
  showWhatIsFound();
  EXPECT_THAT(lines(), ElementsAre(kApplication));
  EXPECT_EQ(summary(), "1 item, 5 B");
  EXPECT_TRUE(control<QTreeWidget>("windowMain", "planList").isVisible());
  EXPECT_TRUE(QTest::qWaitFor([&] { return window("windowMain").height() > closed; }));
  planButton().click();
  EXPECT_FALSE(control<QTreeWidget>("windowMain", "planList").isVisible());
  EXPECT_TRUE(QTest::qWaitFor([&] { return window("windowMain").height() == closed; }));
}

TEST_F(MainInterfaceWithItems, ShowsThePreferencesAsLongAsTheirBoxIsTicked) {
  auto& box = control<QCheckBox>("windowMain", "removeConfigCheck");
  box.click();
  planButton().click();
  showWhatIsFound();
  EXPECT_THAT(lines(), ElementsAre(kApplication, kPreferences));
  EXPECT_EQ(summary(), "2 items, 8 B");
  box.click();
  EXPECT_THAT(lines(), ElementsAre(kApplication));
  box.click();
  EXPECT_THAT(lines(), ElementsAre(kApplication, kPreferences));
}

TEST_F(MainInterfaceWithItems, KeepsTheMarkOfWhoeverGoesThroughTheList) {
  auto& box = control<QCheckBox>("windowMain", "removeConfigCheck");
  box.click();
  planButton().click();
  showWhatIsFound();
  auto& list = control<QTreeWidget>("windowMain", "planList");
  list.setCurrentItem(list.topLevelItem(0));
  box.click();
  ASSERT_NE(list.currentItem(), nullptr);
  EXPECT_EQ(list.currentItem()->text(0), "/Applications/Tessaly.app");
}

TEST_F(MainInterfaceWithItems, UninstallsOnReturnInTheList) {
  planButton().click();
  showWhatIsFound();
  auto& list = control<QTreeWidget>("windowMain", "planList");
  list.setCurrentItem(list.topLevelItem(0));
  list.setFocus();
  press(Qt::Key_Return);
  EXPECT_THAT(sent, ElementsAre("uninstall"));
}

TEST_F(MainInterfaceWithItems, CancelsOnEscapeInTheList) {
  planButton().click();
  control<QTreeWidget>("windowMain", "planList").setFocus();
  press(Qt::Key_Escape);
  EXPECT_THAT(sent, ElementsAre("cancel"));
}

TEST_F(MainInterfaceWithItems, ShowsNothingMoreOnceItUninstalls) {
  planButton().click();
  uninstallButton().click();
  showWhatIsFound();
  EXPECT_THAT(lines(), ElementsAre());
}

TEST_F(MainInterface, GivesEveryControlThatCanBeUsedAKeyOfItsOwn) {
  std::vector<std::string> keys;
  for (const auto* const name : {"removeConfigCheck", "planButton", "cancelButton", "uninstallButton"}) {
    keys.push_back(control<QAbstractButton>("windowMain", name).shortcut().toString().toStdString());
  }
  EXPECT_THAT(keys, ElementsAre("Alt+P", "Alt+W", "Alt+C", "Alt+U"));
}

TEST_F(MainInterface, HasRoomForEveryText) {
  for (const auto* const label : window("windowMain").findChildren<QLabel*>()) {
    EXPECT_GE(label->height(),
              label->hasHeightForWidth() ? label->heightForWidth(label->width()) : label->sizeHint().height())
        << label->objectName().toStdString();
    if (!label->wordWrap()) {
      EXPECT_GE(label->width(), label->sizeHint().width()) << label->objectName().toStdString();
    }
  }
  for (const auto* const button : window("windowMain").findChildren<QAbstractButton*>()) {
    EXPECT_GE(button->width(), button->sizeHint().width()) << button->objectName().toStdString();
  }
}

}  // namespace
}  // namespace qm::testing

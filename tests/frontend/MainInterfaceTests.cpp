#include "Uninstaller/qt/MainInterface.h"

#include <gmock/gmock.h>

#include <QCheckBox>
#include <QCloseEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <QToolButton>
#include <QTreeWidget>
#include <string>
#include <vector>

#include "tests/fakes/FakePlatform.h"
#include "tests/frontend/QtFixture.h"
#include "tests/support/ScopedPlatform.h"

namespace qm::testing {
namespace {

using ::testing::ElementsAre;

struct RecordingOwner : uninstaller::InterfaceOwner {
  RecordingOwner(std::vector<std::string>& sent, uninstaller::Outlets& outlets) : sent_(sent), outlets_(outlets) {}
  void connect(const uninstaller::Outlets& outlets) override {
    sent_.emplace_back("connect");
    outlets_ = outlets;
  }
  void awakeFromNib() override { sent_.emplace_back("awakeFromNib"); }
  void uninstall(const platform::ActionSender* /*sender*/) override {
    sent_.emplace_back("uninstall");
    outlets_.windowProgress->makeKeyAndOrderFront();
    outlets_.windowMain->orderOut();
  }
  void cancel(const platform::ActionSender* /*sender*/) override { sent_.emplace_back("cancel"); }

 private:
  std::vector<std::string>& sent_;
  uninstaller::Outlets& outlets_;
};

class MainInterface : public QtFixture {
 public:
  ~MainInterface() override { interface_.destroyWindows(); }

 protected:
  MainInterface() : interface_(std::make_unique<RecordingOwner>(sent, outlets)) {
    interface_.windowMain().makeKeyAndOrderFront();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window("windowMain")));
    sent.clear();
  }

  static QWidget& window(const char* name) {
    for (auto* const widget : QApplication::topLevelWidgets()) {
      if (widget->objectName() == name) return *widget;
    }
    throw std::runtime_error(std::string("no window ") + name);
  }
  template <class Widget>
  static Widget& control(const char* windowName, const char* name) {
    auto* const found = window(windowName).findChild<Widget*>(name);
    if (found == nullptr) throw std::runtime_error(std::string("no control ") + name);
    return *found;
  }
  static void press(int key) { QTest::keyClick(QApplication::focusWidget(), static_cast<Qt::Key>(key)); }
  static void post(QObject& receiver, QEvent* event) { QCoreApplication::postEvent(&receiver, event); }
  static void postKey(QObject& receiver, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    post(receiver, new QKeyEvent(QEvent::KeyPress, key, modifiers));
    post(receiver, new QKeyEvent(QEvent::KeyRelease, key, modifiers));
  }
  static void postMouse(QWidget& receiver, QEvent::Type type) {
    const auto place = receiver.rect().center();
    post(receiver,
         new QMouseEvent(type, place, receiver.mapToGlobal(place), Qt::LeftButton, Qt::LeftButton, Qt::NoModifier));
  }
  static void postClick(QWidget& receiver, QEvent::Type press = QEvent::MouseButtonPress) {
    postMouse(receiver, press);
    postMouse(receiver, QEvent::MouseButtonRelease);
  }
  static void handleWhatIsQueued() { QCoreApplication::processEvents(); }
  static QPushButton& uninstallButton() { return control<QPushButton>("windowMain", "uninstallButton"); }
  static std::string focused() { return QApplication::focusWidget()->objectName().toStdString(); }

  std::vector<std::string> sent;
  uninstaller::Outlets outlets;

 private:
  qt::MainInterface interface_;
};

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

TEST_F(MainInterface, PromisesNothingByTheOtherBox) {
  const auto& box = control<QCheckBox>("windowMain", "removeSharedCheck");
  EXPECT_FALSE(box.isEnabled());
  EXPECT_TRUE(box.isChecked());
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
                         ::testing::Values("removeConfigCheck", "cancelButton", "planButton", "uninstallButton"));

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

TEST_F(MainInterface, IsWalkedThroughByTab) {
  std::vector<std::string> order;
  for (int step = 0; step < 4; ++step) {
    press(Qt::Key_Tab);
    order.push_back(focused());
  }
  EXPECT_THAT(order, ElementsAre("removeConfigCheck", "cancelButton", "planButton", "uninstallButton"));
}

/// The interface on a machine where the product is installed.
class MainInterfaceWithItems : public MainInterface {
 protected:
  MainInterfaceWithItems() {
    fakes_.disk.addFile("/Applications/Tessaly.app/Contents/data", "12345");
    fakes_.disk.addFile("/home/u/Library/Preferences/com.quillmark.Tessaly.plist", "123");
  }
  ~MainInterfaceWithItems() override { fakes_.end(); }

  static QToolButton& planButton() { return control<QToolButton>("windowMain", "planButton"); }
  static std::vector<std::string> lines() {
    const auto& list = control<QTreeWidget>("windowMain", "planList");
    std::vector<std::string> lines;
    for (int index = 0; index < list.topLevelItemCount(); ++index) {
      const auto& line = *list.topLevelItem(index);
      lines.push_back((line.text(0) + " " + line.text(1)).toStdString());
    }
    return lines;
  }
  static std::string summary() { return control<QLabel>("windowMain", "planSummary").text().toStdString(); }
  void showWhatIsFound() {
    EXPECT_TRUE(fakes_.threads.waitUntilAllEnded());
    fakes_.mainThread.pump();
  }
  std::vector<std::string> calls() const { return fakes_.calls.everything(); }

 private:
  FakePlatform fakes_;
  ScopedPlatform installed_{fakes_.platform};
};

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

TEST_F(MainInterface, NamesEveryWindowAndControlForScreenReaders) {
  for (const auto* const name : {"windowMain", "windowProgress"}) {
    EXPECT_FALSE(window(name).accessibleName().isEmpty()) << name;
    EXPECT_FALSE(window(name).windowTitle().isEmpty()) << name;
  }
  for (const auto* const name :
       {"removeConfigCheck", "removeSharedCheck", "planButton", "cancelButton", "uninstallButton"}) {
    const auto& found = control<QWidget>("windowMain", name);
    EXPECT_FALSE(found.accessibleName().isEmpty()) << name;
    EXPECT_FALSE(found.accessibleDescription().isEmpty()) << name;
  }
  EXPECT_FALSE(control<QProgressBar>("windowProgress", "progressBar").accessibleName().isEmpty());
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

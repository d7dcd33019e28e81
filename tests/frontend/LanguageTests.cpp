// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <QAbstractButton>
#include <QCheckBox>
#include <QKeySequence>
#include <QLabel>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QTest>
#include <QToolButton>
#include <QTreeWidget>
#include <cstdlib>

#include "Uninstaller/RemovalDetails.h"
#include "Uninstaller/SystemLanguage.h"
#include "Uninstaller/qt/CatalogueTranslator.h"
#include "Uninstaller/qt/MainInterface.h"
#include "Uninstaller/qt/QtUserInterface.h"
#include "tests/fakes/FakePlatform.h"
#include "tests/frontend/QtFixture.h"
#include "tests/frontend/Room.h"
#include "tests/support/ScopedPlatform.h"

namespace qm::testing {
namespace {

using ::testing::Contains;
using ::testing::IsEmpty;
using ::testing::Not;

struct SilentOwner : uninstaller::InterfaceOwner {
  void connect(const uninstaller::Outlets&) override {}
  void awakeFromNib() override {}
  void uninstall(const platform::ActionSender*) override {}
  void cancel(const platform::ActionSender*) override {}
};

/// The smallest screen that the windows are made for.
constexpr QSize kSmallScreen(1024, 600);

/// The windows in a language. ctest runs each case in a process of its own, in which no other has been used.
class WindowsIn : public QtFixture, public ::testing::WithParamInterface<const char*> {
 public:
  ~WindowsIn() override {
    interface_->destroyWindows();
    fakes_.end();
    uninstaller::useLanguage(uninstaller::english());
  }

 protected:
  WindowsIn() {
    ::setenv("LOCPATH", QM_LOCALES, 1);
    ::setenv("LC_ALL", GetParam(), 1);
    uninstaller::useLanguage(uninstaller::systemLanguage());
    QCoreApplication::installTranslator(&translator_.emplace());
    fakes_.disk.addFile("/Applications/Tessaly.app/Contents/data", std::string(1536, 'x'));
    fakes_.disk.addFile("/home/u/Library/Preferences/com.quillmark.Tessaly.plist", "123");
    interface_ = std::make_unique<qt::MainInterface>(std::make_unique<SilentOwner>());
    interface_->windowMain().makeKeyAndOrderFront();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&window("windowMain")));
  }

  static QWidget& window(const char* name) {
    for (auto* const widget : QApplication::topLevelWidgets()) {
      if (widget->objectName() == name) return *widget;
    }
    throw std::runtime_error(std::string("no window ") + name);
  }
  void showPlan() {
    window("windowMain").findChild<QToolButton*>("planButton")->click();
    EXPECT_TRUE(fakes_.threads.waitUntilAllEnded());
    fakes_.mainThread.pump();
    QCoreApplication::processEvents();
  }
  /// Shows the alert at the end of a run and calls `look` with it, its details open.
  void runAlert(const std::string& details, const std::function<void(QMessageBox&)>& look) {
    qt::QtUserInterface userInterface(*mainThread);
    mainThread->perform([&] {
      auto* const alert = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      ASSERT_NE(alert, nullptr);
      if (auto* const button = alert->findChild<QToolButton*>("detailsButton")) button->click();
      QCoreApplication::processEvents();
      look(*alert);
      alert->accept();
    });
    userInterface.runAlertPanel(uninstaller::translated("Uninstall complete"),
                                uninstaller::translated("Items have been placed in your Trash."), details);
  }
  static bool isEnglish() { return uninstaller::translated("Cancel") == "Cancel"; }

  static std::string whyItStayed() {
    ItemResult stayed;
    stayed.planned.path = "/Applications/Tessaly.app";
    stayed.reason = "“Tessaly.app” couldn’t be moved to the Trash because you don’t have permission to move it.";
    return removalDetails({stayed});
  }

 private:
  FakePlatform fakes_;
  ScopedPlatform installed_{fakes_.platform};
  std::optional<qt::CatalogueTranslator> translator_;
  std::unique_ptr<qt::MainInterface> interface_;
};

INSTANTIATE_TEST_SUITE_P(Every, WindowsIn,
                         ::testing::Values("C.UTF-8", "de_DE.UTF-8", "fr_FR.UTF-8", "es_ES.UTF-8", "ja_JP.UTF-8"),
                         [](const auto& language) {
                           const std::string locale = language.param;
                           return locale == "C.UTF-8" ? "en" : locale.substr(0, 2);
                         });

TEST_P(WindowsIn, HaveRoomForEveryTextOfTheMainWindow) {
  auto& main = window("windowMain");
  EXPECT_EQ(main.windowTitle() == "Uninstall Tessaly", isEnglish());
  EXPECT_THAT(withoutRoom(main), IsEmpty());
  showPlan();
  EXPECT_THAT(withoutRoom(main), IsEmpty());
  main.findChild<QCheckBox*>("removeConfigCheck")->click();
  QCoreApplication::processEvents();
  EXPECT_THAT(withoutRoom(main), IsEmpty());
  EXPECT_LE(main.width(), kSmallScreen.width());
  EXPECT_LE(main.height(), kSmallScreen.height());
}

TEST_P(WindowsIn, HaveRoomForEveryTextOfTheProgressWindow) {
  auto& progress = window("windowProgress");
  progress.show();
  EXPECT_TRUE(QTest::qWaitForWindowExposed(&progress));
  EXPECT_THAT(withoutRoom(progress), IsEmpty());
}

TEST_P(WindowsIn, HaveRoomForEveryTextOfTheAlert) {
  for (const std::string& details : {std::string(), whyItStayed()}) {
    runAlert(details, [&](QMessageBox& alert) {
      EXPECT_THAT(withoutRoom(alert), IsEmpty());
      EXPECT_EQ(alert.windowTitle() == "Uninstall complete", isEnglish());
      if (details.empty()) return;
      EXPECT_EQ(alert.findChild<QPlainTextEdit*>()->toPlainText().contains("couldn’t"), isEnglish());
    });
  }
}

TEST_P(WindowsIn, GiveEachControlALetterOfItsOwn) {
  std::vector<std::string> keys;
  for (const auto* const button : window("windowMain").findChildren<QAbstractButton*>()) {
    if (button->objectName() == "removeSharedCheck") continue;
    const std::string key = button->shortcut().toString().toStdString();
    EXPECT_NE(key, "") << button->objectName().toStdString();
    EXPECT_THAT(keys, Not(Contains(key)));
    keys.push_back(key);
  }
  EXPECT_EQ(keys.size(), 4U);
}

TEST_P(WindowsIn, TellAScreenReaderNothingInEnglish) {
  if (isEnglish()) return;
  showPlan();
  for (const char* const name : {"windowMain", "windowProgress"}) {
    for (const auto* const widget : window(name).findChildren<QWidget*>()) {
      for (const QString& text : {widget->accessibleName(), widget->accessibleDescription(), widget->toolTip()}) {
        EXPECT_EQ(QString::fromStdString(uninstaller::translated(text.toStdString())), text)
            << widget->objectName().toStdString() << " is described by a key";
      }
    }
  }
}

TEST_P(WindowsIn, AreSeenToHaveNoRoomWhereTheyAreTooSmall) {
  auto& main = window("windowMain");
  showPlan();
  const auto makeSmall = [](QWidget& widget, const QSize& size) {
    widget.setFixedSize(size);
    widget.resize(size);
  };
  for (const auto* const name : {"headingLabel", "explanationLabel", "removeSharedLabel", "removeConfigCheck",
                                 "planButton", "cancelButton", "planList"}) {
    auto& widget = *main.findChild<QWidget*>(name);
    makeSmall(widget, {24, 60});
    EXPECT_THAT(withoutRoom(main), Contains(name));
    makeSmall(widget, {500, 7});
    if (qobject_cast<QTreeWidget*>(&widget) == nullptr) {
      EXPECT_THAT(withoutRoom(main), Contains(name));
    }
    widget.hide();
  }
}

}  // namespace
}  // namespace qm::testing

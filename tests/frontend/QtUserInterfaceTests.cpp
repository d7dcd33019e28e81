// SPDX-License-Identifier: MIT
#include "Uninstaller/qt/QtUserInterface.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QCheckBox>
#include <QLabel>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QToolButton>

#include "Uninstaller/qt/QtControls.h"
#include "tests/frontend/QtFixture.h"

namespace qm::testing {
namespace {

class QtUserInterface : public QtFixture {
 protected:
  /// Shows the alert, and calls `look` once it is visible. `look` must dismiss it.
  void runAlert(const std::string& title, const std::string& message, const std::function<void(QMessageBox&)>& look,
                const std::string& details = "") {
    mainThread->perform([&] {
      auto* const alert = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      ASSERT_NE(alert, nullptr);
      look(*alert);
    });
    userInterface.runAlertPanel(title, message, details);
  }

  qt::QtUserInterface userInterface{*mainThread};
};

TEST_F(QtUserInterface, ShowsTheTitleAndTheMessageWithOneButton) {
  bool looked = false;
  runAlert("Uninstall complete", "Items have been placed in your Trash.", [&](QMessageBox& alert) {
    EXPECT_EQ(alert.windowTitle(), "Uninstall complete");
    EXPECT_EQ(alert.text(), "<b>Uninstall complete</b>");
    EXPECT_EQ(alert.informativeText(), "Items have been placed in your Trash.");
    EXPECT_EQ(alert.windowModality(), Qt::ApplicationModal);
    ASSERT_EQ(alert.buttons().size(), 1);
    EXPECT_EQ(alert.standardButton(alert.buttons().front()), QMessageBox::Ok);
    looked = true;
    alert.accept();
  });
  EXPECT_TRUE(looked);
}

TEST_F(QtUserInterface, ShowsMarkupInTextsAsItIsWritten) {
  runAlert("a < b & c", "<i>d</i>", [](QMessageBox& alert) {
    EXPECT_EQ(alert.text(), "<b>a &lt; b &amp; c</b>");
    EXPECT_EQ(alert.informativeText(), "&lt;i&gt;d&lt;/i&gt;");
    alert.accept();
  });
}

TEST_F(QtUserInterface, DismissesTheAlertOnReturn) {
  runAlert("t", "m", [](QMessageBox& alert) { QTest::keyClick(&alert, Qt::Key_Return); });
}

TEST_F(QtUserInterface, DismissesTheAlertOnEscape) {
  runAlert("t", "m", [](QMessageBox& alert) { QTest::keyClick(&alert, Qt::Key_Escape); });
}

TEST_F(QtUserInterface, KeepsTheAlertWhileAKeyIsHeldThatNobodyPressedForIt) {
  runAlert("t", "m", [](QMessageBox& alert) {
    auto& ok = *alert.buttons().front();
    for (const auto key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space, Qt::Key_Escape, Qt::Key_O}) {
      QTest::simulateEvent(&ok, true, key, Qt::NoModifier, QString(), true);
      QTest::keyRelease(&ok, key);
    }
    EXPECT_FALSE(QTest::qWaitFor([&] { return !alert.isVisible(); }, 300));
    QTest::keyClick(&ok, Qt::Key_Space);
    EXPECT_FALSE(alert.isVisible());
  });
}

TEST_F(QtUserInterface, KeepsTheAlertWhenAMouseButtonIsReleasedThatWasHeldBefore) {
  runAlert("t", "m", [](QMessageBox& alert) {
    QTest::mouseRelease(alert.buttons().front(), Qt::LeftButton);
    EXPECT_TRUE(alert.isVisible());
    QTest::mouseClick(alert.buttons().front(), Qt::LeftButton);
    EXPECT_FALSE(alert.isVisible());
  });
}

TEST_F(QtUserInterface, HasNoDetailsWhereThereAreNone) {
  runAlert("t", "m", [](QMessageBox& alert) {
    EXPECT_EQ(alert.findChild<QToolButton*>(), nullptr);
    EXPECT_EQ(alert.icon(), QMessageBox::Information);
    alert.accept();
  });
}

TEST_F(QtUserInterface, ShowsDetailsWhenTheyAreAskedFor) {
  const auto look = [](QMessageBox& alert) {
    auto& button = *alert.findChild<QToolButton*>("detailsButton");
    const auto& text = *alert.findChild<QPlainTextEdit*>("detailsText");
    EXPECT_EQ(alert.icon(), QMessageBox::Warning);
    EXPECT_EQ(button.text(), "&Details");
    EXPECT_FALSE(text.isVisible());
    button.click();
    EXPECT_TRUE(text.isVisible());
    EXPECT_TRUE(text.isReadOnly());
    EXPECT_EQ(text.toPlainText(), "/a\nIt is <b>busy</b>.");
    button.click();
    EXPECT_FALSE(text.isVisible());
    alert.accept();
  };
  runAlert("t", "m", look, "/a\nIt is <b>busy</b>.\n");
}

TEST_F(QtUserInterface, ReachesDetailsWithTheKeyboard) {
  const auto look = [](QMessageBox& alert) {
    const auto& text = *alert.findChild<QPlainTextEdit*>("detailsText");
    ASSERT_TRUE(QTest::qWaitForWindowActive(&alert));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget()->objectName(), "detailsButton");
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
    EXPECT_TRUE(text.isVisible());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_TRUE(text.hasFocus());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    EXPECT_FALSE(alert.isVisible()) << "Return presses OK from anywhere";
  };
  runAlert("t", "m", look, "/a\nIt is busy.\n");
}

TEST_F(QtUserInterface, TellsScreenReadersThatItIsAnAlertAndWhatItSays) {
  const auto look = [](QMessageBox& alert) {
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&alert)->role(), QAccessible::AlertMessage);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&alert)->text(QAccessible::Name), "Uninstall complete");
    auto& message = *alert.findChild<QLabel*>("qt_msgbox_informativelabel");
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&message)->text(QAccessible::Name), "Items & more.");
    QList<QWidget*> controls{alert.buttons().front(), alert.findChild<QWidget*>("detailsButton"),
                             alert.findChild<QWidget*>("detailsText")};
    for (auto* const control : controls) {
      const auto* const read = QAccessible::queryAccessibleInterface(control);
      EXPECT_FALSE(read->text(QAccessible::Name).isEmpty()) << control->objectName().toStdString();
      EXPECT_FALSE(read->text(QAccessible::Description).isEmpty()) << control->objectName().toStdString();
    }
    alert.accept();
  };
  runAlert("Uninstall complete", "Items & more.", look, "/a\nIt is busy.\n");
}

TEST_F(QtUserInterface, GrowsDownwardsOnlyForDetails) {
  const auto look = [](QMessageBox& alert) {
    const QSize closed = alert.size();
    alert.findChild<QToolButton*>("detailsButton")->click();
    EXPECT_TRUE(QTest::qWaitFor([&] { return alert.height() > closed.height(); }));
    EXPECT_EQ(alert.width(), closed.width());
    alert.accept();
  };
  runAlert("t", "m", look, "/a\nIt is busy.\n");
}

TEST_F(QtUserInterface, EndsTheEventLoopWithSuccess) {
  mainThread->perform([&] { userInterface.terminate(nullptr); });
  EXPECT_EQ(QApplication::exec(), 0);
  EXPECT_TRUE(mainThread->holdsWaitingCallers());
}

TEST_F(QtUserInterface, ReadsACheckBoxFromTheMirror) {
  QCheckBox box;
  box.setChecked(true);
  const qt::QtCheckBox mirrored(box);
  EXPECT_EQ(mirrored.state(), uninstaller::kOnState);
  box.click();
  EXPECT_EQ(mirrored.state(), uninstaller::kOffState);
  box.setChecked(true);
  EXPECT_EQ(mirrored.state(), uninstaller::kOnState);
}

TEST_F(QtUserInterface, KeepsTheStateOfACheckBoxThatIsGone) {
  auto box = std::make_unique<QCheckBox>();
  const qt::QtCheckBox mirrored(*box);
  box->click();
  box.reset();
  EXPECT_EQ(mirrored.state(), uninstaller::kOnState);
}

TEST_F(QtUserInterface, MakesTheProgressBarIndeterminate) {
  QProgressBar bar;
  qt::QtProgressIndicator indicator(bar);
  indicator.setUsesThreadedAnimation(true);
  indicator.startAnimation();
  EXPECT_EQ(bar.minimum(), 0);
  EXPECT_EQ(bar.maximum(), 0);
}

TEST_F(QtUserInterface, ShowsAWindowInTheMiddleOfTheScreenAndHidesIt) {
  QWidget widget;
  widget.setFixedSize(200, 100);
  qt::QtWindow window(widget);
  window.makeKeyAndOrderFront();
  EXPECT_TRUE(widget.isVisible());
  const auto offset = widget.geometry().center() - widget.screen()->availableGeometry().center();
  EXPECT_LE(offset.manhattanLength(), 8);  // without the frame
  window.orderOut();
  EXPECT_FALSE(widget.isVisible());
}

}  // namespace
}  // namespace qm::testing

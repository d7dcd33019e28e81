// SPDX-License-Identifier: MIT
#include "Uninstaller/qt/FreshKeys.h"

#include <QCheckBox>
#include <QPushButton>
#include <QTest>
#include <QVBoxLayout>

#include "tests/frontend/QtFixture.h"

namespace qm::testing {
namespace {

class FreshKeys : public QtFixture {
 protected:
  FreshKeys() : button_("&Button", &window_), box_("Bo&x", &window_) {
    QObject::connect(&button_, &QPushButton::clicked, [this] { ++clicks_; });
    button_.setAutoDefault(true);
    new QVBoxLayout(&window_);
    window_.layout()->addWidget(&button_);
    window_.layout()->addWidget(&box_);
    window_.show();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window_));
    button_.setFocus();
  }

  /// The events that a held key sends.
  static void repeat(QWidget& widget, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QTest::simulateEvent(&widget, true, key, modifiers, QString(), true);
  }
  static void send(QWidget& widget, QEvent::Type type, quint32 scanCode, quint64 time) {
    QKeyEvent event(type, Qt::Key_Return, Qt::NoModifier, scanCode, 0, 0);
    event.setTimestamp(time);
    QCoreApplication::sendEvent(&widget, &event);
  }

  QWidget window_;
  QPushButton button_;
  QCheckBox box_;
  int clicks_ = 0;
};

TEST_F(FreshKeys, PressAButton) {
  for (const auto key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space}) QTest::keyClick(&button_, key);
  EXPECT_EQ(clicks_, 3);
}

TEST_F(FreshKeys, AreNotWhatAHeldKeySends) {
  for (const auto key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space}) {
    repeat(button_, key);
    QTest::keyRelease(&button_, key);
  }
  EXPECT_EQ(clicks_, 0);
}

TEST_F(FreshKeys, TickABoxOnceHoweverLongTheyAreHeld) {
  box_.setFocus();
  QTest::keyPress(&box_, Qt::Key_Space);
  repeat(box_, Qt::Key_Space);
  repeat(box_, Qt::Key_Space);
  QTest::keyRelease(&box_, Qt::Key_Space);
  EXPECT_TRUE(box_.isChecked());
}

TEST_F(FreshKeys, AreNotTheLettersThatAHeldKeySends) {
  repeat(window_, Qt::Key_X, Qt::AltModifier);
  EXPECT_FALSE(QTest::qWaitFor([this] { return box_.isChecked(); }, 300));
  QTest::keyClick(&window_, Qt::Key_X, Qt::AltModifier);
  EXPECT_TRUE(QTest::qWaitFor([this] { return box_.isChecked(); }));
}

TEST_F(FreshKeys, AreToldFromRepetitionsThatAreNotMarkedByTheirTime) {
  send(button_, QEvent::KeyRelease, 36, 100);
  send(button_, QEvent::KeyPress, 36, 100);
  EXPECT_EQ(clicks_, 0);
  send(button_, QEvent::KeyPress, 37, 100);
  EXPECT_EQ(clicks_, 1);
  send(button_, QEvent::KeyPress, 36, 101);
  EXPECT_EQ(clicks_, 2);
}

TEST_F(FreshKeys, AreNotNeededToWalkFromControlToControl) {
  repeat(button_, Qt::Key_Tab);
  EXPECT_TRUE(box_.hasFocus());
  repeat(box_, Qt::Key_Up);
  EXPECT_TRUE(button_.hasFocus());
}

}  // namespace
}  // namespace qm::testing

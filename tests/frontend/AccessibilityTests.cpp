// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <QAccessible>
#include <QCheckBox>
#include <QProgressBar>
#include <QScrollBar>
#include <QTemporaryFile>
#include <algorithm>
#include <cmath>

#include "Uninstaller/qt/FittingArea.h"
#include "tests/frontend/MainInterfaceFixture.h"

namespace qm::testing {
namespace {

using ::testing::ElementsAre;

std::string nameOf(const QObject& object) { return object.objectName().toStdString(); }
QAccessibleInterface& readOf(QWidget& widget) { return *QAccessible::queryAccessibleInterface(&widget); }

/// Those that Tab comes to, and the progress bar.
std::vector<QWidget*> controlsIn(const QWidget& window) {
  std::vector<QWidget*> controls;
  for (auto* const widget : window.findChildren<QWidget*>()) {
    const bool isBar = qobject_cast<QProgressBar*>(widget) != nullptr;
    if (isBar || (widget->focusPolicy() & Qt::TabFocus) != 0) controls.push_back(widget);
  }
  return controls;
}

TEST_F(MainInterfaceWithItems, HasDialogsWithOneTitle) {
  for (const auto* const name : {"windowMain", "windowProgress"}) {
    EXPECT_EQ(readOf(window(name)).role(), QAccessible::Dialog) << name;
    EXPECT_EQ(readOf(window(name)).text(QAccessible::Name), "Uninstall Tessaly") << name;
    EXPECT_EQ(window(name).windowTitle(), "Uninstall Tessaly") << name;
  }
}

TEST_F(MainInterfaceWithItems, NamesAndDescribesEveryControl) {
  planButton().click();
  for (const auto* const name : {"windowMain", "windowProgress"}) {
    const auto controls = controlsIn(window(name));
    EXPECT_FALSE(controls.empty());
    for (auto* const widget : controls) {
      EXPECT_FALSE(readOf(*widget).text(QAccessible::Name).isEmpty()) << nameOf(*widget);
      EXPECT_FALSE(readOf(*widget).text(QAccessible::Description).isEmpty()) << nameOf(*widget);
    }
  }
}

/// A screen reader reads a dialog's texts when it opens, but for those that belong to a control.
TEST_F(MainInterfaceWithItems, ReadsEveryTextWithItsWindow) {
  for (const auto* const name : {"windowMain", "windowProgress"}) {
    const auto labels = window(name).findChildren<QLabel*>();
    EXPECT_FALSE(labels.isEmpty());
    for (auto* const label : labels) {
      EXPECT_EQ(readOf(*label).role(), QAccessible::StaticText) << nameOf(*label);
      EXPECT_EQ(readOf(*label).text(QAccessible::Name), label->text());
      EXPECT_TRUE(readOf(*label).relations().isEmpty()) << nameOf(*label);
    }
  }
}

TEST_F(MainInterfaceWithItems, IsWalkedThroughByTabAsItIsSeen) {
  planButton().click();
  std::vector<std::string> order;
  std::vector<QPoint> places;
  for (int step = 0; step < 6; ++step) {
    press(Qt::Key_Tab);
    order.push_back(focused());
    places.push_back(QApplication::focusWidget()->mapTo(&window("windowMain"), QPoint(0, 0)));
  }
  EXPECT_THAT(order, ElementsAre("removeConfigCheck", "removeSharedCheck", "planButton", "planList", "cancelButton",
                                 "uninstallButton"));
  const auto comesBefore = [](QPoint left, QPoint right) {
    return left.y() < right.y() || (left.y() == right.y() && left.x() < right.x());
  };
  EXPECT_TRUE(std::is_sorted(places.begin(), places.end(), comesBefore));
}

TEST_F(MainInterfaceWithItems, IsWalkedThroughBackwardsAsWell) {
  std::vector<std::string> order;
  for (int step = 0; step < 5; ++step) {
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab, Qt::ShiftModifier);
    order.push_back(focused());
  }
  EXPECT_THAT(order,
              ElementsAre("cancelButton", "planButton", "removeSharedCheck", "removeConfigCheck", "uninstallButton"));
}

// ---- contrast

double lightOf(float channel) {
  return channel <= 0.04045F ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

/// By the definition of the Web Content Accessibility Guidelines.
double luminance(const QColor& color) {
  return (0.2126 * lightOf(color.redF())) + (0.7152 * lightOf(color.greenF())) + (0.0722 * lightOf(color.blueF()));
}
double contrast(const QColor& one, const QColor& other) {
  const double a = luminance(one);
  const double b = luminance(other);
  return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

struct Theme {
  const char* name;
  QColor window;
  QColor text;
  QColor field;
};
void PrintTo(const Theme& theme, std::ostream* out) { *out << theme.name; }

class Contrast : public MainInterface, public ::testing::WithParamInterface<Theme> {
 protected:
  Contrast() {
    QPalette palette;
    palette.setColor(QPalette::Window, GetParam().window);
    palette.setColor(QPalette::Button, GetParam().window);
    palette.setColor(QPalette::WindowText, GetParam().text);
    palette.setColor(QPalette::Text, GetParam().text);
    palette.setColor(QPalette::Base, GetParam().field);
    QApplication::setPalette(palette);
    handleWhatIsQueued();
  }

  /// The best contrast that a line across the left edge of a control comes to, as it is drawn.
  static double contrastOfEdge(QWidget& control) {
    const QImage drawn = window("windowMain").grab().toImage();
    const QPoint edge = control.mapTo(&window("windowMain"), QPoint(0, control.height() / 2));
    double best = 1;
    for (int x = 0; x < 4; ++x) {
      best = std::max(best, contrast(drawn.pixelColor(edge.x() + x, edge.y()), GetParam().window));
    }
    return best;
  }
  static void expectEdge(const char* name) {
    const double measured = contrastOfEdge(control<QWidget>("windowMain", name));
    EXPECT_GE(measured, 3) << name;
    RecordProperty(name, std::to_string(measured));
  }
};

INSTANTIATE_TEST_SUITE_P(In, Contrast,
                         ::testing::Values(Theme{"light", QColor(239, 239, 239), Qt::black, Qt::white},
                                           Theme{"dark", QColor(42, 46, 50), QColor(252, 252, 252), QColor(27, 30, 32)},
                                           Theme{"grey", QColor(83, 83, 83), QColor(240, 240, 240), QColor(69, 69, 69)},
                                           Theme{"black", Qt::black, Qt::white, Qt::black},
                                           Theme{"white", Qt::white, Qt::black, Qt::white}),
                         [](const auto& tried) { return tried.param.name; });

TEST_P(Contrast, IsEnoughForABoxThatIsNotTicked) {
  EXPECT_FALSE(control<QCheckBox>("windowMain", "removeConfigCheck").isChecked());
  expectEdge("removeConfigCheck");
}

TEST_P(Contrast, IsEnoughForTheBoxThatStaysTicked) { expectEdge("removeSharedCheck"); }

TEST_P(Contrast, IsEnoughForTheOtherButton) { expectEdge("cancelButton"); }

TEST_P(Contrast, ShowsWhichBoxHasTheFocus) {
  for (const auto* const name : {"removeConfigCheck", "removeSharedCheck"}) {
    auto& box = control<QWidget>("windowMain", name);
    const double without = contrastOfEdge(box);
    while (focused() != name) press(Qt::Key_Tab);
    EXPECT_GT(contrastOfEdge(box), 1.5 * without) << name;
  }
}

// ---- small screens

/// What a screen of 1024 x 600 is at 250 %.
std::string smallScreen() {
  static QTemporaryFile file;
  if (!file.isOpen() && file.open()) {
    file.write(R"({"screens": [{"name": "small", "x": 0, "y": 0, "width": 409, "height": 240,)"
               R"( "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})");
    file.flush();
  }
  return "offscreen:configfile=" + file.fileName().toStdString();
}

class SmallScreen : public MainInterfaceWithItems {
 protected:
  SmallScreen() : MainInterfaceWithItems(smallScreen()) {
    EXPECT_EQ(QApplication::primaryScreen()->size(), QSize(409, 240));
  }

  static qt::FittingArea& area(const char* name) {
    return *dynamic_cast<qt::FittingArea*>(window(name).findChild<QScrollArea*>());
  }
  static bool isSeenWhole(const QWidget& widget) { return widget.visibleRegion().boundingRect() == widget.rect(); }
  static void expectOnScreen(const char* name) {
    EXPECT_TRUE(QApplication::primaryScreen()->geometry().contains(window(name).geometry())) << name;
    EXPECT_EQ(area(name).horizontalScrollBar()->maximum(), 0) << name;
  }
};

TEST_F(SmallScreen, HoldsBothWindows) {
  expectOnScreen("windowMain");
  outlets.windowProgress->makeKeyAndOrderFront();
  expectOnScreen("windowProgress");
}

TEST_F(SmallScreen, ShowsEveryControlThatTabComesTo) {
  planButton().click();
  EXPECT_TRUE(QTest::qWaitFor([] { return area("windowMain").widget()->height() > 400; }));
  expectOnScreen("windowMain");
  for (int step = 0; step < 6; ++step) {
    press(Qt::Key_Tab);
    const auto& reached = *QApplication::focusWidget();
    EXPECT_TRUE(isSeenWhole(reached) || (focused() == "planList" && !reached.visibleRegion().isEmpty())) << focused();
  }
}

TEST_F(SmallScreen, HasEveryTextWhereItCanBeScrolledTo) {
  planButton().click();
  handleWhatIsQueued();
  const auto labels = window("windowMain").findChildren<QLabel*>();
  EXPECT_GE(labels.size(), 5);
  for (auto* const label : labels) {
    area("windowMain").ensureWidgetVisible(label);
    EXPECT_TRUE(isSeenWhole(*label)) << nameOf(*label);
  }
}

TEST_F(SmallScreen, IsScrolledByTheKeysForPages) {
  press(Qt::Key_PageDown);
  EXPECT_GT(area("windowMain").verticalScrollBar()->value(), 0);
  press(Qt::Key_PageUp);
  EXPECT_EQ(area("windowMain").verticalScrollBar()->value(), 0);
}

TEST_F(MainInterface, HasNoScrollBarsWhereThereIsRoom) {
  const auto& bars = window("windowMain").findChildren<QScrollBar*>();
  EXPECT_TRUE(std::none_of(bars.begin(), bars.end(), [](const QScrollBar* bar) { return bar->isVisible(); }));
}

}  // namespace
}  // namespace qm::testing

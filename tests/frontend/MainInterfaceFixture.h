// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QTest>
#include <QToolButton>
#include <QTreeWidget>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Uninstaller/qt/MainInterface.h"
#include "tests/fakes/FakePlatform.h"
#include "tests/frontend/QtFixture.h"
#include "tests/support/ScopedPlatform.h"

namespace qm::testing {

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

/// The windows, the main one shown, whose actions are recorded.
class MainInterface : public QtFixture {
 public:
  ~MainInterface() override { interface_.destroyWindows(); }

 protected:
  explicit MainInterface(const std::string& display = "offscreen")
      : QtFixture(display), interface_(std::make_unique<RecordingOwner>(sent, outlets)) {
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

/// The interface on a machine where the product is installed.
class MainInterfaceWithItems : public MainInterface {
 protected:
  explicit MainInterfaceWithItems(const std::string& display = "offscreen") : MainInterface(display) {
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

}  // namespace qm::testing

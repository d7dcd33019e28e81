// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <cstdlib>
#include <memory>
#include <string>

#include "Uninstaller/qt/FreshKeys.h"
#include "Uninstaller/qt/QtMainThread.h"
#include "Uninstaller/qt/ReadableStyle.h"

namespace qm::testing {

/// An application object without a display, in the program's style, whose windows get fresh keys only, and a main
/// thread that has begun.
class QtFixture : public ::testing::Test {
 public:
  ~QtFixture() override { mainThread->end(); }

 protected:
  explicit QtFixture(const std::string& display = "offscreen") {
    ::setenv("QT_QPA_PLATFORM", display.c_str(), 1);
    application_ = std::make_unique<QApplication>(argc_, argv_);
    QApplication::setStyle(new qt::ReadableStyle);
    freshKeys_ = std::make_unique<qt::FreshKeys>(*application_);
    QApplication::setQuitOnLastWindowClosed(false);
    mainThread = std::make_unique<qt::QtMainThread>();
    EXPECT_TRUE(mainThread->begin());
  }

  std::unique_ptr<qt::QtMainThread> mainThread;

 private:
  int argc_ = 1;
  char name_[5] = "test";
  char* argv_[2] = {name_, nullptr};
  std::unique_ptr<QApplication> application_;
  std::unique_ptr<qt::FreshKeys> freshKeys_;
};

}  // namespace qm::testing

// SPDX-License-Identifier: MIT

// A window with one line of text: the least that a program with words in its window takes.
#include <QLabel>

#include "bench/FirstPaint.h"

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  qm::bench::FirstPaint firstPaint;
  application.installEventFilter(&firstPaint);
  QLabel window("The least that a window can say.");
  window.show();
  return QApplication::exec();
}

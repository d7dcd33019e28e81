#include "bench/FirstPaint.h"

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  qm::bench::FirstPaint firstPaint;
  application.installEventFilter(&firstPaint);
  QWidget window;
  window.show();
  return QApplication::exec();
}

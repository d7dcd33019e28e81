// The application as it is, with a look at its first paint.
#include "Platform/Application.h"
#include "Uninstaller/AppController.h"
#include "bench/FirstPaint.h"

int main(int argc, char** argv) {
  qm::platform::install(&qm::platform::systemPlatform());
  return qm::platform::applicationMain(argc, argv, [] {
    static auto* firstPaint = new qm::bench::FirstPaint;
    qApp->installEventFilter(firstPaint);
    return std::make_unique<AppController>();
  });
}

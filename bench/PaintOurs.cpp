// SPDX-License-Identifier: MIT

// The application as it is, observed at its first paint.
#include "Uninstaller/AppController.h"
#include "Uninstaller/Application.h"
#include "Uninstaller/Product.h"
#include "bench/FirstPaint.h"

int main(int argc, char** argv) {
  qm::platform::install(&qm::uninstaller::systemPlatform(kProduct));
  return qm::uninstaller::applicationMain(argc, argv, kProduct, [] {
    static auto* firstPaint = new qm::bench::FirstPaint;
    qApp->installEventFilter(firstPaint);
    return std::make_unique<AppController>();
  });
}

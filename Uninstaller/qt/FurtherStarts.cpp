// SPDX-License-Identifier: MIT
#include "Uninstaller/qt/FurtherStarts.h"

#include <QApplication>
#include <QWidget>
#include <chrono>

#include "Uninstaller/qt/X11.h"

namespace qm::qt {

namespace {

constexpr std::chrono::seconds kUntilThereAreMeans(1);

bool isShownWindow(const QWidget& widget) {
  return widget.isVisible() && (widget.windowType() == Qt::Window || widget.windowType() == Qt::Dialog);
}

/// The window that takes input. If an alert is shown, the windows behind it do not.
QWidget* shownWindow() {
  if (auto* const alert = QApplication::activeModalWidget()) return alert;
  for (auto* const widget : QApplication::topLevelWidgets()) {
    if (isShownWindow(*widget)) return widget;
  }
  return nullptr;
}

}  // namespace

FurtherStarts::FurtherStarts(const linux_::SingleInstance& instance) : instance_(instance) {
  if (!instance.requests()) return;
  notifier_ = std::make_unique<QSocketNotifier>(instance.requests().get(), QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { serve(); });
  rest_.setSingleShot(true);
  rest_.setInterval(kUntilThereAreMeans);
  QObject::connect(&rest_, &QTimer::timeout, [this] { notifier_->setEnabled(true); });
}

void FurtherStarts::serve() {
  if (instance_.serve(bringToFront)) return;
  // The request is still waiting and would wake the main thread again and again.
  notifier_->setEnabled(false);
  rest_.start();
}

void bringToFront() {
  auto* const window = shownWindow();
  if (window == nullptr) return;
  window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
  window->raise();
  window->activateWindow();
  activateForTheUser(*window);
}

}  // namespace qm::qt

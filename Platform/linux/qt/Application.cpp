#include "Platform/Application.h"

#include <QApplication>
#include <cstdio>
#include <cstdlib>

#include "Platform/linux/qt/FreshKeys.h"
#include "Platform/linux/qt/FrontEnd.h"
#include "Platform/linux/qt/FurtherStarts.h"
#include "Platform/linux/qt/SingleInstance.h"
#include "Platform/linux/qt/X11HeldKeys.h"

namespace qm::linux_ {

namespace {

void say(const char* line) { static_cast<void>(std::fprintf(stderr, "%s\n", line)); }

/// Qt gives up by aborting. Here that means that there is no display, which is not a crash and leaves
/// no core file.
void reportStartFailure(QtMsgType type, const QMessageLogContext& context, const QString& message) {
  say(qUtf8Printable(qFormatLogMessage(type, context, message)));
  if (type != QtFatalMsg) return;
  say("tessaly-uninstaller: no window can be opened. Start it from a desktop session.");
  std::_Exit(EXIT_FAILURE);
}

std::unique_ptr<QApplication> makeApplication(int& argc, char** argv) {
  // There is nothing to type into: opening an input method would only keep the window waiting.
  qputenv("QT_IM_MODULE", "none");
  const auto previous = qInstallMessageHandler(reportStartFailure);
  auto application = std::make_unique<QApplication>(argc, argv);
  qInstallMessageHandler(previous);
  QApplication::setQuitOnLastWindowClosed(false);
  QApplication::setDesktopFileName(QStringLiteral("tessaly-uninstaller"));
  return application;
}

int runEventLoop(FrontEnd& front) {
  if (front.mainThread.holdsWaitingCallers()) return EXIT_SUCCESS;  // terminated while loading
  front.interface->windowMain().makeKeyAndOrderFront();
  return QApplication::exec();
}

int runFirst(FrontEnd& front, const SingleInstance& instance, QApplication& application,
             const platform::MakeInterfaceOwner& makeOwner) {
  if (!front.mainThread.begin()) {
    say("tessaly-uninstaller: the system has no event descriptors left.");
    return EXIT_FAILURE;
  }
  const FreshKeys freshKeys(application);
  const X11HeldKeys heldKeys(application);
  const FurtherStarts furtherStarts(instance);
  front.interface = std::make_unique<MainInterface>(makeOwner());
  const int code = runEventLoop(front);
  front.mainThread.end();
  front.interface->destroyWindows();
  return code;
}

}  // namespace

}  // namespace qm::linux_

int qm::platform::applicationMain(int argc, char** argv, const MakeInterfaceOwner& makeOwner) {
  auto& front = linux_::frontEnd();
  linux_::SingleInstance instance(front.program);
  switch (instance.start(front.patience)) {
    case linux_::SingleInstance::Start::Answered:
      return EXIT_SUCCESS;
    case linux_::SingleInstance::Start::NoAnswer:
      linux_::say("tessaly-uninstaller: it is running already, and does not answer.");
      return EXIT_FAILURE;
    case linux_::SingleInstance::Start::First:
      break;
  }
  const auto application = linux_::makeApplication(argc, argv);
  return linux_::runFirst(front, instance, *application, makeOwner);
}

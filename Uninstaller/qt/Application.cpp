// SPDX-License-Identifier: MIT
#include "Uninstaller/Application.h"

#include <QApplication>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "Platform/linux/system/SingleInstance.h"
#include "Uninstaller/qt/CatalogueTranslator.h"
#include "Uninstaller/qt/FreshKeys.h"
#include "Uninstaller/qt/FrontEnd.h"
#include "Uninstaller/qt/FurtherStarts.h"
#include "Uninstaller/qt/ReadableStyle.h"
#include "Uninstaller/qt/WindowIcon.h"
#include "Uninstaller/qt/X11HeldKeys.h"

namespace qm::qt {

namespace {

void say(const std::string& line) { static_cast<void>(std::fprintf(stderr, "%s\n", line.c_str())); }

void sayAsTheProgram(const char* line) { say(std::string(frontEnd().product.program) + ": " + line); }

/// If Qt cannot start, it aborts. Here the only reason is that there is no display. That is no crash and must not leave
/// a core file.
void reportStartFailure(QtMsgType type, const QMessageLogContext& context, const QString& message) {
  say(qFormatLogMessage(type, context, message).toStdString());
  if (type != QtFatalMsg) return;
  sayAsTheProgram("no window can be opened. Start it from a desktop session.");
  std::_Exit(EXIT_FAILURE);
}

/// Keeps the messages in the log and on the console English, although the toolkit sets the locale of the whole process.
void keepLogEnglish() {
  for (const int part : {LC_MESSAGES, LC_NUMERIC, LC_TIME}) {
    static_cast<void>(std::setlocale(part, "C"));  // NOLINT(concurrency-mt-unsafe): there are no other threads yet
  }
}

void useCatalogue(QApplication& application) {
  auto* const translator = new CatalogueTranslator;
  translator->setParent(&application);
  QApplication::installTranslator(translator);
}

std::unique_ptr<QApplication> makeApplication(int& argc, char** argv) {
  // The windows have no text field, so an input method would only delay them.
  qputenv("QT_IM_MODULE", "none");
  const auto previous = qInstallMessageHandler(reportStartFailure);
  auto application = std::make_unique<QApplication>(argc, argv);
  qInstallMessageHandler(previous);
  keepLogEnglish();
  useCatalogue(*application);
  // NOLINTBEGIN(clang-analyzer-cplusplus.NewDeleteLeaks): Qt deletes the style
  QApplication::setStyle(new ReadableStyle);
  QApplication::setQuitOnLastWindowClosed(false);
  // NOLINTEND(clang-analyzer-cplusplus.NewDeleteLeaks)
  const std::string_view program = frontEnd().product.program;
  QApplication::setDesktopFileName(QString::fromUtf8(program.data(), static_cast<qsizetype>(program.size())));
  return application;
}

int runEventLoop(FrontEnd& front) {
  if (front.mainThread.holdsWaitingCallers()) return EXIT_SUCCESS;  // terminated while loading
  front.interface->windowMain().makeKeyAndOrderFront();
  return QApplication::exec();
}

int runFirst(FrontEnd& front, const linux_::SingleInstance& instance, QApplication& application,
             const uninstaller::MakeInterfaceOwner& makeOwner) {
  if (!front.mainThread.begin()) {
    sayAsTheProgram("the system has no event descriptors left.");
    return EXIT_FAILURE;
  }
  const FreshKeys freshKeys(application);
  const X11HeldKeys heldKeys(application);
  const FurtherStarts furtherStarts(instance);
  const WindowIcon windowIcon(application);
  front.interface = std::make_unique<MainInterface>(makeOwner());
  const int code = runEventLoop(front);
  front.mainThread.end();
  front.interface->destroyWindows();
  return code;
}

}  // namespace

}  // namespace qm::qt

int qm::uninstaller::applicationMain(int argc, char** argv, const platform::ProductIdentity& product,
                                     const MakeInterfaceOwner& makeOwner) {
  auto& front = qt::frontEnd();
  front.product = product;
  linux_::SingleInstance instance{std::string(product.identifier)};
  switch (instance.start(front.patience)) {
    case linux_::SingleInstance::Start::Answered:
      return EXIT_SUCCESS;
    case linux_::SingleInstance::Start::NoAnswer:
      qt::sayAsTheProgram("it is running already, and does not answer.");
      return EXIT_FAILURE;
    case linux_::SingleInstance::Start::First:
      break;
  }
  const auto application = qt::makeApplication(argc, argv);
  return qt::runFirst(front, instance, *application, makeOwner);
}

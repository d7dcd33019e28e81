#include "Uninstaller/qt/QtUserInterface.h"

#include <QApplication>
#include <QGridLayout>
#include <QMessageBox>

namespace qm::qt {

namespace {

constexpr int kAlertWidth = 360;

/// Short texts would make an alert that is too narrow for its own title.
void widen(QMessageBox& alert) {
  auto* const grid = qobject_cast<QGridLayout*>(alert.layout());
  if (grid == nullptr) return;
  grid->addItem(new QSpacerItem(kAlertWidth, 0), grid->rowCount(), 0, 1, grid->columnCount());
}

}  // namespace

void QtUserInterface::runAlertPanel(const std::string& title, const std::string& message) {
  const QString heading = QString::fromStdString(title);
  QMessageBox alert;
  alert.setWindowModality(Qt::ApplicationModal);
  alert.setWindowTitle(heading);
  alert.setIcon(QMessageBox::Information);
  alert.setTextFormat(Qt::RichText);
  alert.setText("<b>" + heading.toHtmlEscaped() + "</b>");
  alert.setInformativeText(QString::fromStdString(message).toHtmlEscaped());
  alert.setStandardButtons(QMessageBox::Ok);
  alert.setDefaultButton(QMessageBox::Ok);
  alert.setEscapeButton(QMessageBox::Ok);
  widen(alert);
  alert.exec();
}

void QtUserInterface::terminate(const platform::ActionSender* /*sender*/) {
  mainThread_.holdWaitingCallers();
  QApplication::exit(0);
}

}  // namespace qm::qt

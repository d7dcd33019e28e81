#include "Uninstaller/qt/QtUserInterface.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QToolButton>

#include "Uninstaller/qt/CatalogueTranslator.h"
#include "Uninstaller/qt/Disclosure.h"

namespace qm::qt {

namespace {

constexpr int kAlertWidth = 360;
constexpr int kDetailsWidth = 480;
constexpr int kDetailsHeight = 150;

/// Short texts would make an alert that is too narrow for its own title.
void widen(QMessageBox& alert) {
  auto* const grid = qobject_cast<QGridLayout*>(alert.layout());
  if (grid == nullptr) return;
  grid->addItem(new QSpacerItem(kAlertWidth, 0), grid->rowCount(), 0, 1, grid->columnCount());
}

QPlainTextEdit* makeDetailsText(QWidget& alert, const std::string& details) {
  auto* const text = new QPlainTextEdit(QString::fromStdString(details).trimmed(), &alert);
  text->setObjectName("detailsText");
  text->setAccessibleName(translated("Details"));
  text->setReadOnly(true);
  text->setTabChangesFocus(true);
  text->setMinimumWidth(kDetailsWidth);
  text->setFixedHeight(kDetailsHeight);
  text->hide();
  return text;
}

QToolButton* makeDetailsButton(QWidget& alert, QPlainTextEdit& text) {
  auto* const button = new QToolButton(&alert);
  button->setObjectName("detailsButton");
  button->setText(translated("&Details"));
  button->setAccessibleName(translated("Details"));
  button->setAccessibleDescription(translated("Shows what stayed where it was, and why."));
  makeDisclosure(*button, [&text](bool isOpen) { text.setVisible(isOpen); });
  QWidget::setTabOrder(button, &text);
  return button;
}

/// Between the texts and the button.
void addDetails(QMessageBox& alert, const std::string& details) {
  auto* const grid = qobject_cast<QGridLayout*>(alert.layout());
  auto* const buttons = alert.findChild<QDialogButtonBox*>();
  if (details.empty() || grid == nullptr || buttons == nullptr) return;
  auto* const text = makeDetailsText(alert, details);
  const int row = grid->rowCount();
  const int columns = grid->columnCount();
  grid->removeWidget(buttons);
  grid->addWidget(makeDetailsButton(alert, *text), row, 0, 1, columns, Qt::AlignLeading);
  grid->addWidget(text, row + 1, 0, 1, columns);
  grid->addWidget(buttons, row + 2, 0, 1, columns);
}

}  // namespace

void QtUserInterface::runAlertPanel(const std::string& title, const std::string& message, const std::string& details) {
  const QString heading = QString::fromStdString(title);
  QMessageBox alert;
  alert.setWindowModality(Qt::ApplicationModal);
  alert.setWindowTitle(heading);
  alert.setIcon(details.empty() ? QMessageBox::Information : QMessageBox::Warning);
  alert.setTextFormat(Qt::RichText);
  alert.setText("<b>" + heading.toHtmlEscaped() + "</b>");
  alert.setInformativeText(QString::fromStdString(message).toHtmlEscaped());
  alert.setStandardButtons(QMessageBox::Ok);
  alert.setDefaultButton(QMessageBox::Ok);
  alert.setEscapeButton(QMessageBox::Ok);
  widen(alert);
  addDetails(alert, details);
  alert.exec();
}

void QtUserInterface::terminate(const platform::ActionSender* /*sender*/) {
  mainThread_.holdWaitingCallers();
  QApplication::exit(0);
}

}  // namespace qm::qt

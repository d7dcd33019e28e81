// SPDX-License-Identifier: MIT
#include "Uninstaller/qt/QtUserInterface.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QToolButton>
#include <algorithm>

#include "Uninstaller/qt/CatalogueTranslator.h"
#include "Uninstaller/qt/Disclosure.h"
#include "Uninstaller/qt/FittingArea.h"

namespace qm::qt {

namespace {

constexpr int kAlertWidth = 360;
constexpr int kDetailsWidth = 480;
constexpr int kDetailsHeight = 150;
// The space that an alert needs around its details.
constexpr int kBesideDetails = 30;
constexpr int kAboveAndBelowDetails = 130;
constexpr int kLeastDetailsHeight = 40;

int widthOnScreen(const QWidget& alert, int wanted) {
  return std::min(wanted, roomFor(alert).width() - kBesideDetails);
}

/// An alert with short texts would be too narrow for its own title. An alert with details has their width from the
/// start, so that only its height changes when they are shown.
void widen(QMessageBox& alert, int wanted) {
  auto* const grid = qobject_cast<QGridLayout*>(alert.layout());
  if (grid == nullptr) return;
  grid->addItem(new QSpacerItem(widthOnScreen(alert, wanted), 0), grid->rowCount(), 0, 1, grid->columnCount());
}

QPlainTextEdit* makeDetailsText(QWidget& alert, const std::string& details) {
  auto* const text = new QPlainTextEdit(QString::fromStdString(details).trimmed(), &alert);
  text->setObjectName("detailsText");
  text->setAccessibleName(translated("Details"));
  text->setAccessibleDescription(translated("What stayed where it was, and why."));
  text->setReadOnly(true);
  text->setTabChangesFocus(true);
  const int height = roomFor(alert).height() - kAboveAndBelowDetails;
  text->setFixedHeight(std::clamp(height, kLeastDetailsHeight, kDetailsHeight));
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

/// Inserts the details between the texts and the button.
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

/// The label's text contains markup, which screen readers would read, so the label gets the plain text as its name. Its
/// text begins at the edge where the controls begin.
void prepareLabel(const QMessageBox& alert, const char* label, const std::string& text) {
  auto* const found = alert.findChild<QLabel*>(label);
  if (found == nullptr) return;
  found->setAccessibleName(QString::fromStdString(text));
  found->setAlignment((alert.isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignAbsolute | Qt::AlignVCenter);
}

/// Removes the icon that some themes give the button. In a language that is written from right to left the icon would
/// push the text out of the button.
void describe(QAbstractButton& okButton) {
  okButton.setIcon(QIcon());
  okButton.setAccessibleDescription(translated("Closes this message and quits."));
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
  prepareLabel(alert, "qt_msgbox_label", title);
  prepareLabel(alert, "qt_msgbox_informativelabel", message);
  alert.setStandardButtons(QMessageBox::Ok);
  alert.setDefaultButton(QMessageBox::Ok);
  describe(*alert.button(QMessageBox::Ok));
  alert.setEscapeButton(QMessageBox::Ok);
  widen(alert, details.empty() ? kAlertWidth : kDetailsWidth);
  addDetails(alert, details);
  alert.exec();
}

void QtUserInterface::terminate(const platform::ActionSender* /*sender*/) {
  mainThread_.holdWaitingCallers();
  QApplication::exit(0);
}

}  // namespace qm::qt

#include "tests/frontend/Room.h"

#include <QAbstractButton>
#include <QFontMetrics>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QStyleOptionButton>
#include <QTextDocument>
#include <QToolButton>
#include <QTreeWidget>
#include <QtMath>

namespace qm::testing {
namespace {

constexpr int kNoLimit = 100000;

bool fits(const QSize& text, const QSize& room) {
  return text.width() <= room.width() && text.height() <= room.height();
}

/// As wide as the room where lines are broken.
QSize sizeOfText(const QLabel& label, const QSize& room) {
  if (label.textFormat() == Qt::RichText) {
    QTextDocument document;
    document.setDefaultFont(label.font());
    document.setDocumentMargin(0);
    document.setHtml(label.text());
    if (label.wordWrap()) document.setTextWidth(room.width());
    return {qCeil(document.idealWidth()), qCeil(document.size().height())};
  }
  const int flags = label.wordWrap() ? int{Qt::TextWordWrap} : 0;
  const QRect place(0, 0, label.wordWrap() ? room.width() : kNoLimit, kNoLimit);
  return label.fontMetrics().boundingRect(place, flags, label.text()).size();
}

bool hasRoom(const QLabel& label) {
  if (!label.pixmap().isNull()) return true;
  const QSize room = label.contentsRect().size();
  return fits(sizeOfText(label, room), room);
}

bool hasRoom(const QAbstractButton& button) {
  if (button.text().isEmpty()) return true;
  QSize room = button.size();
  QStyleOptionButton option;
  option.initFrom(&button);
  if (qobject_cast<const QPushButton*>(&button) != nullptr) {
    room = button.style()->subElementRect(QStyle::SE_PushButtonContents, &option, &button).size();
  } else if (qobject_cast<const QToolButton*>(&button) != nullptr) {
    return fits(button.sizeHint(), room);
  } else if (button.isCheckable()) {
    room = button.style()->subElementRect(QStyle::SE_CheckBoxContents, &option, &button).size();
  }
  return fits(button.fontMetrics().size(Qt::TextShowMnemonic, button.text()), room);
}

bool hasRoom(const QTreeWidget& list) {
  const QHeaderView& header = *list.header();
  if (header.length() > list.viewport()->width()) return false;
  for (int column = 0; column < header.count(); ++column) {
    const int room = header.sectionSize(column);
    if (header.fontMetrics().horizontalAdvance(list.headerItem()->text(column)) > room) return false;
    for (int line = 0; column > 0 && line < list.topLevelItemCount(); ++line) {
      if (list.fontMetrics().horizontalAdvance(list.topLevelItem(line)->text(column)) > room) return false;
    }
  }
  return true;
}

template <class Widget>
void addWithoutRoom(const QWidget& window, std::vector<std::string>& names) {
  for (const auto* const widget : window.findChildren<Widget*>()) {
    const bool isInIt = widget->isVisibleTo(&window) && window.rect().contains(widget->geometry());
    if (widget->isVisibleTo(&window) && (!hasRoom(*widget) || (widget->parent() == &window && !isInIt))) {
      names.push_back(widget->objectName().toStdString());
    }
  }
}

}  // namespace

std::vector<std::string> withoutRoom(const QWidget& window) {
  std::vector<std::string> names;
  addWithoutRoom<QLabel>(window, names);
  addWithoutRoom<QAbstractButton>(window, names);
  addWithoutRoom<QTreeWidget>(window, names);
  return names;
}

}  // namespace qm::testing

// SPDX-License-Identifier: MIT
#include "Uninstaller/qt/PlanView.h"

#include <QHeaderView>
#include <QLabel>
#include <QStyledItemDelegate>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <utility>

#include "Uninstaller/qt/CatalogueTranslator.h"

namespace qm::qt {

namespace {

constexpr int kListHeight = 190;

/// In a language that is written from right to left, a path is still written from left to right. A size has the
/// direction of its unit.
class DirectedTexts final : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

 protected:
  void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
    constexpr QChar kLeftToRight(0x2066);
    constexpr QChar kAsItsFirstLetter(0x2068);
    constexpr QChar kEnd(0x2069);
    QStyledItemDelegate::initStyleOption(option, index);
    if (option->direction == Qt::LeftToRight) return;
    option->text = (index.column() == 0 ? kLeftToRight : kAsItsFirstLetter) + option->text + kEnd;
  }
};

QTreeWidget* makeList(QWidget& parent) {
  auto* const list = new QTreeWidget(&parent);
  list->setObjectName("planList");
  list->setAccessibleName(translated("What will be moved"));
  list->setAccessibleDescription(translated("The items that are on this computer, with their sizes."));
  list->setHeaderLabels({translated("Item"), translated("Size")});
  list->setItemDelegate(new DirectedTexts(list));
  list->setRootIsDecorated(false);
  list->setUniformRowHeights(true);
  list->setTextElideMode(Qt::ElideMiddle);
  list->setFixedHeight(kListHeight);
  list->setTabKeyNavigation(false);
  list->header()->setStretchLastSection(false);
  list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
  list->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
  return list;
}

QTreeWidgetItem* lineOf(const PreviewRow& row) {
  const QString path = QString::fromStdString(row.path);
  auto* const line = new QTreeWidgetItem(QStringList{path, QString::fromStdString(row.size)});
  line->setToolTip(0, path.toHtmlEscaped());
  line->setTextAlignment(1, Qt::AlignRight | Qt::AlignVCenter);
  return line;
}

}  // namespace

PlanView::PlanView(QWidget* parent) : QWidget(parent), list_(makeList(*this)), summary_(new QLabel(this)) {
  summary_->setObjectName("planSummary");
  summary_->setTextFormat(Qt::PlainText);
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(list_);
  layout->addWidget(summary_);
}

void PlanView::comeAfter(QWidget& control) { setTabOrder(&control, list_); }

void PlanView::setPreview(Preview preview) {
  preview_ = std::move(preview);
  fill();
}

void PlanView::setRemoveConfig(RemoveConfig removeConfig) {
  removeConfig_ = removeConfig;
  fill();
}

/// Keeps the current line if its item is still in the list, so that a user who reads the list does not lose the place.
void PlanView::fill() {
  const QTreeWidgetItem* const current = list_->currentItem();
  const QString reached = current == nullptr ? QString() : current->text(0);
  list_->clear();
  for (const PreviewRow& row : previewRows(preview_, removeConfig_)) {
    auto* const line = lineOf(row);
    list_->addTopLevelItem(line);
    if (line->text(0) == reached) list_->setCurrentItem(line);
  }
  summary_->setText(QString::fromStdString(previewSummary(preview_, removeConfig_)));
}

}  // namespace qm::qt

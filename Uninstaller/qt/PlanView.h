// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

#include "Uninstaller/RemovalPreview.h"

class QLabel;
class QTreeWidget;

namespace qm::qt {

/// Lists the items that would be moved, one in each line with its size. The total size is below the list.
class PlanView final : public QWidget {
 public:
  explicit PlanView(QWidget* parent);

  /// Tab goes from the control to the list.
  void comeAfter(QWidget& control);
  /// Shows another preview.
  void setPreview(Preview preview);
  /// Shows the items for a removal of this kind.
  void setRemoveConfig(RemoveConfig removeConfig);

 private:
  void fill();

  QTreeWidget* list_;
  QLabel* summary_;
  Preview preview_;
  RemoveConfig removeConfig_ = RemoveConfig::No;
};

}  // namespace qm::qt

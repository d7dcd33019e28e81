// SPDX-License-Identifier: MIT
#include "Uninstaller/qt/MainInterface.h"

#include <QApplication>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <utility>

#include "Platform/Platform.h"
#include "Platform/linux/rights/RightsForPaths.h"
#include "Uninstaller/qt/Disclosure.h"
#include "Uninstaller/qt/FittingArea.h"
#include "Uninstaller/qt/PlanView.h"
#include "ui_MainInterface.h"

namespace qm::qt {

namespace {

constexpr Qt::WindowFlags kMainWindow = Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                                        Qt::WindowSystemMenuHint | Qt::WindowMinimizeButtonHint |
                                        Qt::WindowCloseButtonHint;
constexpr Qt::WindowFlags kProgressWindow = Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint;

/// With this width the explanation has two lines, short enough to read well.
constexpr int kMainWidth = 588;
constexpr int kProgressWidth = 408;

/// Texts begin at the edge where the controls begin, even if a text's own script begins at the other.
void alignTexts(const QWidget& window) {
  const Qt::Alignment begin = window.isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft;
  for (auto* const label : window.findChildren<QLabel*>())
    label->setAlignment(begin | Qt::AlignAbsolute | Qt::AlignVCenter);
}

/// A close request or Escape never closes a window directly. It is dropped, or passed to a button as a click.
class CloseRequests final : public QObject {
 public:
  CloseRequests(QWidget& window, QAbstractButton* button) : QObject(&window), button_(button) {
    window.installEventFilter(this);
  }

  bool eventFilter(QObject* /*window*/, QEvent* event) override {
    if (event->type() != QEvent::Close && !isEscape(*event)) return false;
    event->ignore();
    if (button_ != nullptr) button_->click();
    return true;
  }

 private:
  static bool isEscape(const QEvent& event) {
    return event.type() == QEvent::KeyPress && static_cast<const QKeyEvent&>(event).key() == Qt::Key_Escape;
  }

  QAbstractButton* button_;
};

/// Return presses the default button from everywhere in the window. A focused button takes Return itself.
class ReturnKey final : public QObject {
 public:
  ReturnKey(QWidget& window, QPushButton& defaultButton, QPushButton& cancelButton)
      : QObject(&window), defaultButton_(defaultButton), cancelButton_(cancelButton) {
    window.installEventFilter(this);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) { markReturnButton(now); });
  }

  bool eventFilter(QObject* /*window*/, QEvent* event) override {
    if (event->type() != QEvent::KeyPress || !isReturn(*static_cast<QKeyEvent*>(event))) return false;
    defaultButton_.click();
    return true;
  }

 private:
  static bool isReturn(const QKeyEvent& press) { return press.key() == Qt::Key_Return || press.key() == Qt::Key_Enter; }

  /// Shows which button Return presses.
  void markReturnButton(const QWidget* focused) {
    const bool cancels = focused == &cancelButton_;
    defaultButton_.setDefault(!cancels);
    cancelButton_.setDefault(cancels);
  }

  QPushButton& defaultButton_;
  QPushButton& cancelButton_;
};

/// Makes a button's letter press the button at once. Qt itself would wait a moment, in which keys that were typed later
/// would take effect first.
class PromptLetters final : public QObject {
 public:
  explicit PromptLetters(QWidget& window) : QObject(&window) {
    for (auto* const button : window.findChildren<QAbstractButton*>()) button->installEventFilter(this);
  }

  bool eventFilter(QObject* button, QEvent* event) override {
    if (event->type() != QEvent::Shortcut) return false;
    static_cast<QAbstractButton*>(button)->click();
    return true;
  }
};

/// In a user's folder root measures with that user's rights, because the user can replace what is measured at any
/// moment. If root itself is the user at the console, root measures with its own rights.
void measureWithRightsOfTheirs(PlannedItem& item) {
  const linux_::RightsForPaths rights(*platform::platform().users, {*item.path});
  if (rights.mayUsePlaces()) measure(item);
}

/// Makes a child of the canvas a window of its own, which is not shown yet.
std::unique_ptr<QWidget> liftOut(QWidget* widget, Qt::WindowFlags flags) {
  widget->setParent(nullptr, flags);
  return std::unique_ptr<QWidget>(widget);
}

}  // namespace

MainInterface::MainInterface(std::unique_ptr<uninstaller::InterfaceOwner> owner)
    : owner_(std::move(owner)),
      file_(std::make_unique<Ui::MainInterface>()),
      canvas_(std::make_unique<QWidget>()),
      preview_([this](const Preview& preview) { planView_->setPreview(preview); }, measureWithRightsOfTheirs) {
  file_->setupUi(canvas_.get());
  mainWidget_ = liftOut(file_->windowMain, kMainWindow);
  progressWidget_ = liftOut(file_->windowProgress, kProgressWindow);
  new FittingArea(*mainWidget_, kMainWidth);
  new FittingArea(*progressWidget_, kProgressWidth);
  alignTexts(*mainWidget_);
  alignTexts(*progressWidget_);
  makeOutlets();
  connectActions();
  file_->uninstallButton->setFocus();
  owner_->awakeFromNib();
}

MainInterface::~MainInterface() = default;

void MainInterface::makeOutlets() {
  windowMain_ = std::make_unique<QtWindow>(*mainWidget_);
  removeSharedCheck_ = std::make_unique<QtCheckBox>(*file_->removeSharedCheck);
  removeConfigCheck_ = std::make_unique<QtCheckBox>(*file_->removeConfigCheck);
  windowProgress_ = std::make_unique<QtWindow>(*progressWidget_);
  progressBar_ = std::make_unique<QtProgressIndicator>(*file_->progressBar);
  owner_->connect({.windowMain = windowMain_.get(),
                   .removeSharedCheck = removeSharedCheck_.get(),
                   .removeConfigCheck = removeConfigCheck_.get(),
                   .windowProgress = windowProgress_.get(),
                   .progressBar = progressBar_.get()});
}

void MainInterface::connectActions() {
  sendOnClick(*file_->uninstallButton, &uninstaller::InterfaceOwner::uninstall);
  sendOnClick(*file_->cancelButton, &uninstaller::InterfaceOwner::cancel);
  makeDisclosure(*file_->planButton, [this](bool isOpen) { showPlan(isOpen); });
  new PromptLetters(*mainWidget_);
  new ReturnKey(*mainWidget_, *file_->uninstallButton, *file_->cancelButton);
  new CloseRequests(*mainWidget_, file_->cancelButton);
  new CloseRequests(*progressWidget_, nullptr);
}

void MainInterface::sendOnClick(const QAbstractButton& button, Action action) {
  QObject::connect(&button, &QAbstractButton::clicked, [this, action] {
    if (!takesActions_ || !mainWidget_->isVisible()) return;
    takesActions_ = false;
    mainWidget_->setEnabled(false);
    preview_.abandon();
    // The sender is null, because no action uses it.
    (*owner_.*action)(nullptr);
  });
}

/// Called when the view is first opened, because creating it takes a moment and most users never open it.
void MainInterface::makePlanView() {
  planView_ = new PlanView(mainWidget_.get());
  file_->mainLayout->insertWidget(file_->mainLayout->indexOf(file_->buttonsLayout), planView_);
  planView_->comeAfter(*file_->planButton);
  alignTexts(*planView_);
  const auto follow = [this](bool isChecked) {
    planView_->setRemoveConfig(isChecked ? RemoveConfig::Yes : RemoveConfig::No);
  };
  QObject::connect(file_->removeConfigCheck, &QCheckBox::toggled, planView_, follow);
  follow(file_->removeConfigCheck->isChecked());
}

void MainInterface::showPlan(bool isOpen) {
  if (planView_ == nullptr) makePlanView();
  planView_->setVisible(isOpen);
  isOpen ? preview_.look() : preview_.abandon();
}

void MainInterface::destroyWindows() {
  preview_.abandon();
  progressWidget_.reset();
  mainWidget_.reset();
  canvas_.reset();
}

}  // namespace qm::qt

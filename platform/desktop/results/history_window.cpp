#include "platform/desktop/results/history_window.h"

#include <QAction>
#include <QEvent>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QPointer>
#include <QScreen>
#include <QVBoxLayout>

#include "platform/desktop/results/name_delegate.h"
#include "platform/desktop/text/plain_text.h"
#include "platform/desktop/windows/main_window.h"

namespace {

QPointer<HistoryWindow> window;

QString TextOf(const std::string &bytes) {
  return OneLine(QString::fromLocal8Bit(bytes));
}

}  // namespace

HistoryWindow::HistoryWindow(CHistory *history)
    : history_(*history),
      table_(new QTableWidget(0, 4)),
      undo_(new QPushButton(tr("&Undo"))),
      show_(new QPushButton(tr("&Show…"))) {
  setAttribute(Qt::WA_DeleteOnClose);
  setWindowTitle(tr("History"));
  constexpr int kFrame = 40;
  const QSize room = screen()->availableSize();
  resize(QSize(900, 420).boundedTo({room.width() - kFrame, room.height() - 2 * kFrame}));
  MakeTable();
  auto *rows = new QVBoxLayout(this);
  rows->addWidget(table_, 1);
  rows->addWidget(MakeButtons());
  auto *close = new QAction(this);
  close->setShortcuts({Qt::Key_Escape, QKeySequence(Qt::CTRL | Qt::Key_W)});
  connect(close, &QAction::triggered, this, &QWidget::close);
  addAction(close);
  Update();
  table_->setFocus();
}

void HistoryWindow::MakeTable() {
  table_->setAccessibleName(tr("History"));
  table_->setHorizontalHeaderLabels({tr("When"), tr("Folder"), tr("What was done"), tr("State")});
  table_->setItemDelegateForColumn(1, new NameDelegate(table_));
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->setSelectionMode(QAbstractItemView::SingleSelection);
  table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  table_->setAlternatingRowColors(true);
  table_->setShowGrid(false);
  table_->setTabKeyNavigation(false);
  table_->verticalHeader()->setVisible(false);
  QHeaderView *header = table_->horizontalHeader();
  header->setDefaultAlignment(Qt::AlignLeading | Qt::AlignVCenter);
  header->setHighlightSections(false);
  header->setStretchLastSection(true);
  header->resizeSection(0, table_->fontMetrics().averageCharWidth() * 24);
  header->resizeSection(1, width() / 4);
  header->resizeSection(2, width() / 4);
  connect(table_, &QTableWidget::itemSelectionChanged, this, &HistoryWindow::ShowWhatCanBeDone);
  connect(table_, &QTableWidget::doubleClicked, this, &HistoryWindow::ShowResults);
  auto *show = new QAction(table_);
  show->setShortcuts({Qt::Key_Return, Qt::Key_Enter});
  show->setShortcutContext(Qt::WidgetShortcut);
  connect(show, &QAction::triggered, this, &HistoryWindow::ShowResults);
  table_->addAction(show);
}

QWidget *HistoryWindow::MakeButtons() {
  undo_->setToolTip(tr("Put everything back where it was before this run"));
  show_->setToolTip(tr("Show what this run did to each item (Enter)"));
  connect(undo_, &QPushButton::clicked, this, &HistoryWindow::Undo);
  connect(show_, &QPushButton::clicked, this, &HistoryWindow::ShowResults);
  auto *row = new QWidget;
  auto *layout = new QHBoxLayout(row);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addStretch();
  layout->addWidget(undo_);
  layout->addWidget(show_);
  return row;
}

void HistoryWindow::Update() {
  const int current = table_->currentRow();
  const std::string before =
      current >= 0 ? rows_[static_cast<std::size_t>(current)].id : std::string();
  rows_ = history_.Rows();
  int now = 0;
  table_->setRowCount(static_cast<int>(rows_.size()));
  for (int row = 0; row < table_->rowCount(); ++row) {
    const HistoryRow &told = rows_[static_cast<std::size_t>(row)];
    if (told.id == before) now = row;
    int column = 0;
    for (const std::string &text : {told.when, told.folder, told.done, told.state}) {
      auto *item = new QTableWidgetItem(TextOf(text));
      item->setToolTip(item->text());
      table_->setItem(row, column++, item);
    }
  }
  if (!rows_.empty()) table_->setCurrentCell(now, 0);
  ShowWhatCanBeDone();
}

void HistoryWindow::changeEvent(QEvent *event) {
  // Another Vannerly may have been at work.
  if (event->type() == QEvent::ActivationChange && isActiveWindow()) Update();
  QWidget::changeEvent(event);
}

void HistoryWindow::ShowWhatCanBeDone() {
  const int row = table_->currentRow();
  undo_->setEnabled(row >= 0 && rows_[static_cast<std::size_t>(row)].canBeUndone);
  show_->setEnabled(row >= 0);
}

void HistoryWindow::Undo() {
  history_.Undo(static_cast<std::size_t>(table_->currentRow()));
}

void HistoryWindow::ShowResults() {
  if (show_->isEnabled()) history_.Show(static_cast<std::size_t>(table_->currentRow()));
}

void ShowHistoryWindow(CHistory *history) {
  if (window == nullptr) window = new HistoryWindow(history);
  BringUp(*window);
}

void UpdateHistoryWindow() {
  if (window != nullptr) window->Update();
}

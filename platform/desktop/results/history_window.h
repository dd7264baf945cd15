/// The window of the history: the runs that are kept, and what can be done with each.
#pragma once

#include <QPushButton>
#include <QTableWidget>
#include <QWidget>

#include "platform/history_window.h"

class HistoryWindow final : public QWidget {
  Q_OBJECT

 public:
  explicit HistoryWindow(CHistory *history);

  /// Asks for the rows again; the same run stays the current one.
  void Update();

 protected:
  void changeEvent(QEvent *event) override;

 private:
  void MakeTable();
  QWidget *MakeButtons();
  void ShowWhatCanBeDone();
  void Undo();
  void ShowResults();

  CHistory &history_;
  std::vector<HistoryRow> rows_;
  QTableWidget *table_;
  QPushButton *undo_;
  QPushButton *show_;
};

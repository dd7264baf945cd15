/// The window of results: the list, what can be done with it, and what a plan asks.
#pragma once

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <QWidget>
#include <optional>

#include "platform/desktop/results/result_model.h"
#include "platform/desktop/results/result_table.h"
#include "platform/desktop/widgets/status_line.h"
#include "platform/results_window.h"

/// Opens the list, and closes it when it goes. While it is open it follows the run that is on; in
/// between it sleeps.
class ResultsWindow final : public QWidget {
  Q_OBJECT

 public:
  explicit ResultsWindow(CResultList *list);
  ~ResultsWindow() override;

  /// Takes in at once what has come, and gives the keyboard to the answer that is meant, if any.
  void Begin();

 private:
  QWidget *MakeTopRow();
  QWidget *MakeBottomRow();
  QWidget *MakeNotice();
  QWidget *MakeQuestion();
  void MakeTable();
  QAction *AddAction(const QString &text, const QKeySequence &key, void (ResultsWindow::*act)());

  void Follow();
  void Select();
  /// Does something after which rows stand at other places; the current one stays the current one.
  template <typename Work>
  void KeepCurrentRow(Work work);
  void ShowState();
  void ShowKinds();
  void ShowQuestion();
  std::optional<unsigned> WantedKind() const;

  void CarryOut();
  void OpenFolder();
  void CopyPaths();
  void AskWhereToSave();
  void Save(const QString &path, ResultFormat format);

  CResultList &list_;
  ResultModel *model_;
  QLineEdit *search_;
  QComboBox *kinds_;
  ResultTable *table_;
  StatusLine *state_;
  StatusLine *missing_;
  // Of a plan alone.
  QLabel *warningSign_;
  StatusLine *planNotice_;
  StatusLine *planSummary_;
  QPushButton *flatten_;
  QPushButton *cancel_;
  QWidget *notice_;
  QWidget *question_;
  QAction *open_;
  QAction *copy_;
  QAction *save_;
  QTimer nextLook_;
  QTimer searchIsTyped_;
};

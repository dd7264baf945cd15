/// The table of results, which grows.
#pragma once

#include <QTableView>

/// Draws nothing anew for rows that are added below those in sight. Otherwise all that is in sight
/// would be drawn each time, which takes as long as taking in some ten thousand rows.
class ResultTable final : public QTableView {
  Q_OBJECT

 public:
  using QTableView::QTableView;

  void reset() override;
  void doItemsLayout() override;

 protected:
  void rowsInserted(const QModelIndex &parent, int start, int end) override;

 private:
  // Since it was laid out:
  bool hasGrown_ = false;
  bool isSeen_ = false;  ///< something has changed in sight
};

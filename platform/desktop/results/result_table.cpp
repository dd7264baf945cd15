#include "platform/desktop/results/result_table.h"

#include <utility>

void ResultTable::reset() {
  isSeen_ = true;
  QTableView::reset();
}

void ResultTable::rowsInserted(const QModelIndex &parent, int start, int end) {
  hasGrown_ = true;
  const int above = start - 1;
  isSeen_ =
      isSeen_ || above < 0 || rowViewportPosition(above) + rowHeight(above) < viewport()->height();
  QTableView::rowsInserted(parent, start, end);
}

void ResultTable::doItemsLayout() {
  const bool hasGrown = std::exchange(hasGrown_, false);
  const bool isSeen = std::exchange(isSeen_, false);
  if (hasGrown && !isSeen) return updateGeometries();  // for the scroll bar
  QTableView::doItemsLayout();
}

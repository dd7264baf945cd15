#include "platform/desktop/results/result_model.h"

#include <algorithm>
#include <limits>

#include "platform/desktop/text/plain_text.h"

namespace {

QString TextOf(const std::string &bytes) {
  return OneLine(QString::fromLocal8Bit(bytes));
}

}  // namespace

/// A view counts in its own numbers.
void ResultModel::CountRows() {
  constexpr std::size_t kMost = std::numeric_limits<int>::max();
  rows_ = static_cast<int>(std::min(list_.Count(), kMost));
}

ResultsToCome ResultModel::Follow(int milliseconds) {
  ResultsToCome toCome = ResultsToCome::kNone;
  // What has become of the rows is known only when it has.
  switch (list_.Follow(milliseconds, &toCome)) {
    case ResultNews::kNone:
      break;
    case ResultNews::kMoreRows: {
      const int before = rows_;
      CountRows();
      const int after = std::exchange(rows_, before);
      beginInsertRows(QModelIndex(), before, after - 1);
      rows_ = after;
      endInsertRows();
      break;
    }
    case ResultNews::kOtherRows:
      beginResetModel();
      CountRows();
      endResetModel();
      break;
  }
  return toCome;
}

void ResultModel::Select(std::optional<unsigned> kind, const QString &search) {
  beginResetModel();
  list_.Select(kind, search.toStdString());
  CountRows();
  endResetModel();
}

void ResultModel::sort(int column, Qt::SortOrder order) {
  beginResetModel();
  std::optional<ResultColumn> by;
  if (column >= 0 && column < kResultColumns) by = static_cast<ResultColumn>(column);
  list_.SortBy(by, order == Qt::DescendingOrder);
  endResetModel();
}

int ResultModel::rowCount(const QModelIndex &parent) const {
  return parent.isValid() ? 0 : rows_;
}

int ResultModel::columnCount(const QModelIndex &parent) const {
  return parent.isValid() ? 0 : kResultColumns;
}

QVariant ResultModel::data(const QModelIndex &index, int role) const {
  if (!index.isValid() || (role != Qt::DisplayRole && role != Qt::ToolTipRole)) return {};
  const auto column = static_cast<ResultColumn>(index.column());
  const QString text = TextOf(list_.TextOf(static_cast<std::size_t>(index.row()), column));
  if (role == Qt::DisplayRole) return text;
  // A name with "<" in it would be taken for one that is marked up.
  return QStringLiteral("<p>%1</p>").arg(IsolatedPath(text).toHtmlEscaped());
}

QVariant ResultModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  switch (static_cast<ResultColumn>(section)) {
    case ResultColumn::kItem:
      return tr("Item");
    case ResultColumn::kHappened:
      return list_.Question() ? tr("What would happen") : tr("What happened");
    case ResultColumn::kWhere:
      return tr("Where to or why");
  }
  return {};
}

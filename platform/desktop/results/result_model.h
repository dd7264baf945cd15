/// The list of results as Qt's views see it.
#pragma once

#include <QAbstractTableModel>

#include "platform/results_window.h"

class ResultModel final : public QAbstractTableModel {
  Q_OBJECT

 public:
  /// `list` is open as long as this is there.
  ResultModel(CResultList *list, QObject *parent) : QAbstractTableModel(parent), list_(*list) {}

  /// Takes in what is new; see CResultList::Follow.
  ResultsToCome Follow(int milliseconds);
  void Select(std::optional<unsigned> kind, const QString &search);
  /// No column for the order in which it happened.
  void sort(int column, Qt::SortOrder order) override;

  int rowCount(const QModelIndex &parent = QModelIndex()) const override;
  int columnCount(const QModelIndex &parent = QModelIndex()) const override;
  QVariant data(const QModelIndex &index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  void CountRows();

  CResultList &list_;
  int rows_ = 0;
};

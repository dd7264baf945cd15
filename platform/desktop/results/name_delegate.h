/// Draws names and paths in the cells of a list.
#pragma once

#include <QStyledItemDelegate>

/// One that does not fit loses its middle, so that its extension is seen. Each name in a path
/// stands in its place whatever script it is written in.
class NameDelegate final : public QStyledItemDelegate {
  Q_OBJECT

 public:
  using QStyledItemDelegate::QStyledItemDelegate;
  void paint(QPainter *painter, const QStyleOptionViewItem &option,
             const QModelIndex &index) const override;
};

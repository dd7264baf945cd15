#include "platform/desktop/results/name_delegate.h"

#include <QApplication>
#include <QStyle>

#include "platform/desktop/text/plain_text.h"

void NameDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                         const QModelIndex &index) const {
  QStyleOptionViewItem shown = option;
  initStyleOption(&shown, index);
  const QStyle *style = option.widget != nullptr ? option.widget->style() : QApplication::style();
  const int margin = style->pixelMetric(QStyle::PM_FocusFrameHMargin, &shown, option.widget) + 1;
  // Isolated after it was shortened, which could leave one half of a pair of marks.
  shown.text = IsolatedPath(
      shown.fontMetrics.elidedText(shown.text, Qt::ElideMiddle, option.rect.width() - 2 * margin));
  style->drawControl(QStyle::CE_ItemViewItem, &shown, painter, option.widget);
}

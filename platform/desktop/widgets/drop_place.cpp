#include "platform/desktop/widgets/drop_place.h"

#include <QPainter>
#include <algorithm>

namespace {

constexpr int kMargin = 14;
constexpr int kLeastHeight = 64;
constexpr double kCornerRadius = 12;

}  // namespace

DropPlace::DropPlace(QWidget *parent) : QLabel(parent) {
  setAttribute(Qt::WA_TransparentForMouseEvents);
  setTextFormat(Qt::PlainText);
  setAlignment(Qt::AlignCenter);
}

void DropPlace::ShowText(const QString &text) {
  setText(text);
  setAccessibleName(text);
  const QRect room = parentWidget()->rect().adjusted(kMargin, kMargin, -kMargin, -kMargin);
  const int height = std::min(std::max(room.height() / 4, kLeastHeight), room.height());
  setGeometry(room.left(), room.bottom() + 1 - height, room.width(), height);
  SetTargeted(false);
  raise();
  show();
}

void DropPlace::SetTargeted(bool isTargeted) {
  isTargeted_ = isTargeted;
  update();
}

void DropPlace::paintEvent(QPaintEvent *) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QColor line = palette().color(QPalette::Highlight);
  QPen pen(line, 2.5);
  if (!isTargeted_) pen.setDashPattern({4, 3});
  painter.setPen(pen);
  painter.setBrush(isTargeted_ ? line : palette().color(QPalette::Base));
  painter.drawRoundedRect(rect().toRectF().adjusted(2, 2, -2, -2), kCornerRadius, kCornerRadius);
  painter.setPen(palette().color(isTargeted_ ? QPalette::HighlightedText : QPalette::Text));
  painter.drawText(rect(), Qt::AlignCenter | Qt::TextWordWrap, text());
}

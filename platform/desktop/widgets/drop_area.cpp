#include "platform/desktop/widgets/drop_area.h"

#include <QApplication>
#include <QPainter>

#include "platform/desktop/widgets/shades.h"

namespace {

constexpr int kIconSize = 96;
constexpr int kTextMargin = 22;
constexpr double kCornerRadius = 14;

}  // namespace

DropArea::DropArea(QWidget *parent) : QAbstractButton(parent) {
  setFocusPolicy(Qt::StrongFocus);
  setCursor(Qt::PointingHandCursor);
  setAttribute(Qt::WA_Hover);  // It is drawn anew when the pointer comes and goes.
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

QSize DropArea::sizeHint() const {
  return {360, 220};
}

void DropArea::paintEvent(QPaintEvent *) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);

  const bool standsOut = hasFocus() || underMouse() || isDown();
  const QColor line = palette().color(standsOut ? QPalette::Highlight : QPalette::PlaceholderText);
  QColor ground = palette().color(QPalette::Highlight);
  ground.setAlphaF(isDown() ? 0.16F : underMouse() ? 0.08F : 0.03F);
  QPen pen(line, standsOut ? 2.5 : 2);
  pen.setDashPattern({4, 3});
  painter.setPen(pen);
  painter.setBrush(ground);
  painter.drawRoundedRect(rect().toRectF().adjusted(2, 2, -2, -2), kCornerRadius, kCornerRadius);

  // The status line lies over the middle.
  const int size = std::min(kIconSize, height() * 2 / 5);
  QApplication::windowIcon().paint(&painter, (width() - size) / 2, height() / 2 - size, size, size);
  painter.setPen(FaintColor(palette()));
  painter.drawText(rect().adjusted(0, 0, 0, -kTextMargin),
                   Qt::AlignHCenter | Qt::AlignBottom | Qt::TextSingleLine, text());
}

#include "platform/desktop/widgets/shades.h"

#include <QPainter>
#include <QStyleOption>

QColor FaintColor(const QPalette &palette) {
  constexpr int kShareOfText = 70;  // per cent
  const QColor text = palette.color(QPalette::WindowText);
  const QColor window = palette.color(QPalette::Window);
  const auto mix = [](int a, int b) { return (a * kShareOfText + b * (100 - kShareOfText)) / 100; };
  return {mix(text.red(), window.red()), mix(text.green(), window.green()),
          mix(text.blue(), window.blue())};
}

void OutlinedStyle::drawPrimitive(PrimitiveElement element, const QStyleOption *option,
                                  QPainter *painter, const QWidget *widget) const {
  QProxyStyle::drawPrimitive(element, option, painter, widget);
  const bool isBox = element == PE_IndicatorCheckBox;
  if (!isBox && element != PE_IndicatorRadioButton) return;
  const bool hasFocus = (option->state & State_HasFocus) != 0;
  painter->save();
  painter->setRenderHint(QPainter::Antialiasing);
  painter->setBrush(Qt::NoBrush);
  painter->setPen(hasFocus ? option->palette.color(QPalette::Highlight)
                           : FaintColor(option->palette));
  const QRectF outline = QRectF(option->rect).adjusted(0.5, 0.5, -0.5, -0.5);
  if (isBox) {
    painter->drawRect(outline);
  } else {
    painter->drawEllipse(outline);
  }
  painter->restore();
}

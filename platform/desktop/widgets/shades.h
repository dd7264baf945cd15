/// Colours that stand back and can still be seen.
#pragma once

#include <QPalette>
#include <QProxyStyle>

/// The colour of a hint, and of the outline of what can be ticked: fainter than text, with a
/// contrast of more than 4.5:1 to the window, light or dark (WCAG 2.1 asks that of text, and 3:1 of
/// outlines).
QColor FaintColor(const QPalette &palette);

/// Qt's own style "Fusion" with outlines of check boxes and radio buttons in that colour: its own
/// are hardly to be seen, in dark colours not at all.
class OutlinedStyle final : public QProxyStyle {
  Q_OBJECT

 public:
  OutlinedStyle() : QProxyStyle(QStringLiteral("Fusion")) {}
  void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget) const override;
};

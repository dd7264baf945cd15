#include "platform/desktop/widgets/busy_indicator.h"

#include <QPainter>
#include <QTimerEvent>
#include <cmath>
#include <numbers>

namespace {

constexpr int kDots = 10;
constexpr int kMillisecondsPerStep = 80;
constexpr int kDiameter = 52;

}  // namespace

BusyIndicator::BusyIndicator(QWidget *parent) : QWidget(parent) {
  setFixedSize(kDiameter, kDiameter);
}

void BusyIndicator::showEvent(QShowEvent *) {
  sinceShown_.start();
  step_.start(kMillisecondsPerStep, this);
}

void BusyIndicator::hideEvent(QHideEvent *) {
  step_.stop();
}

void BusyIndicator::timerEvent(QTimerEvent *) {
  update();
}

void BusyIndicator::paintEvent(QPaintEvent *) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.translate(rect().toRectF().center());
  // By the clock, not by counting steps: while files are being moved some steps are passed over.
  const int lit = static_cast<int>(sinceShown_.elapsed() / kMillisecondsPerStep % kDots);
  constexpr double kDotRadius = 3.6;
  constexpr double kRingRadius = kDiameter / 2.0 - kDotRadius - 1;
  for (int dot = 0; dot < kDots; ++dot) {
    const int age = (lit - dot + kDots) % kDots;
    QColor color = palette().color(QPalette::Highlight);
    color.setAlphaF(1.0F - 0.85F * static_cast<float>(age) / (kDots - 1));
    painter.setBrush(color);
    const double angle = 2 * std::numbers::pi * dot / kDots;
    painter.drawEllipse(QPointF(kRingRadius * std::sin(angle), -kRingRadius * std::cos(angle)),
                        kDotRadius, kDotRadius);
  }
}

#include "platform/desktop/status_line.h"

#include <QPainter>
#include <utility>

#include "platform/desktop/plain_text.h"

namespace {

constexpr int kMillisecondsBetweenAnnouncements = 500;

}  // namespace

StatusLine::StatusLine(QWidget *parent) : QLabel(parent) {
  setTextFormat(Qt::PlainText);
  setTextInteractionFlags(Qt::NoTextInteraction);
  setAlignment(Qt::AlignCenter);
  setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
  // What lies under the text can be clicked through it.
  setAttribute(Qt::WA_TransparentForMouseEvents);
}

void StatusLine::ShowText(const QString &text) {
  QString plain = OneLine(text);
  if (plain == text_) return;
  text_ = std::move(plain);
  update();
  if (!announcement_.isActive()) announcement_.start(kMillisecondsBetweenAnnouncements, this);
}

void StatusLine::timerEvent(QTimerEvent *) {
  announcement_.stop();
  setAccessibleName(text_);  // This is what tells the screen reader.
}

QSize StatusLine::sizeHint() const {
  return {0, fontMetrics().lineSpacing() * lines_};
}

QSize StatusLine::minimumSizeHint() const {
  return sizeHint();
}

void StatusLine::paintEvent(QPaintEvent *) {
  QPainter painter(this);
  painter.setPen(palette().color(foregroundRole()));
  const QFontMetrics metrics = fontMetrics();
  const int align = static_cast<int>(alignment());
  const QRect wrapped = metrics.boundingRect(rect(), align | Qt::TextWordWrap, text_);
  if (rect().contains(wrapped)) {
    painter.drawText(rect(), align | Qt::TextWordWrap, text_);
  } else {
    painter.drawText(rect(), align | Qt::TextSingleLine,
                     metrics.elidedText(text_, Qt::ElideMiddle, width()));
  }
}

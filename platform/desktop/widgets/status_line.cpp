#include "platform/desktop/widgets/status_line.h"

#include <QPainter>
#include <utility>

#include "platform/desktop/text/plain_text.h"

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

void StatusLine::paintEvent(QPaintEvent *) {
  QPainter painter(this);
  painter.setPen(palette().color(foregroundRole()));
  const QFontMetrics metrics = fontMetrics();
  // A sentence of ours stays one, whatever script the names in it are written in.
  const int align = static_cast<int>(alignment()) | Qt::TextForceLeftToRight;
  const QString text = WithPathIsolated(text_);
  const QRect wrapped = metrics.boundingRect(rect(), align | Qt::TextWordWrap, text);
  if (rect().contains(wrapped)) {
    painter.drawText(rect(), align | Qt::TextWordWrap, text);
  } else {
    painter.drawText(rect(), align | Qt::TextSingleLine,
                     WithPathIsolated(metrics.elidedText(text_, Qt::ElideMiddle, width())));
  }
}

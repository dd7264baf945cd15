#include "platform/desktop/widgets/proxy_icon.h"

#include <QApplication>
#include <QDrag>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionFocusRect>

#include "platform/common/timers.h"
#include "platform/desktop/text/plain_text.h"
#include "platform/desktop/text/uris.h"
#include "platform/workspace.h"

namespace {

constexpr int kGap = 6;

QIcon FolderIcon(const QWidget &widget) {
  return QIcon::fromTheme(QStringLiteral("folder"),
                          widget.style()->standardIcon(QStyle::SP_DirIcon));
}

}  // namespace

ProxyIcon::ProxyIcon(QWidget *parent) : QAbstractButton(parent) {
  setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
  setFocusPolicy(Qt::TabFocus);
  setEnabled(false);
  connect(this, &QAbstractButton::clicked,
          [this] { (void)NSWorkspace::sharedWorkspace().openURL(UriFromPath(path_)); });
}

void ProxyIcon::SetItem(const std::string &path) {
  path_ = path;
  setText(OneLine(QString::fromLocal8Bit(path)));
  setAccessibleName(text());
  setAccessibleDescription(tr("The folder; opens in the file manager"));
  setEnabled(!path.empty());
  setCursor(path.empty() ? Qt::ArrowCursor : Qt::PointingHandCursor);
  update();
}

void ProxyIcon::SetModified(bool modified) {
  modified_ = modified;
  update();
}

int ProxyIcon::IconSize() const {
  return style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
}

QSize ProxyIcon::sizeHint() const {
  return {0, std::max(IconSize(), fontMetrics().height()) + 4};
}

void ProxyIcon::paintEvent(QPaintEvent *) {
  if (path_.empty()) return;
  QPainter painter(this);
  const int size = IconSize();
  const QString shown = fontMetrics().elidedText(text(), Qt::ElideMiddle, width() - size - kGap);
  const int used = size + kGap + fontMetrics().horizontalAdvance(IsolatedPath(shown));
  const int left = std::max(0, (width() - used) / 2);
  painter.setOpacity(modified_ ? 0.5 : 1);
  FolderIcon(*this).paint(&painter, left, (height() - size) / 2, size, size);
  painter.setOpacity(1);
  QFont font = painter.font();
  font.setUnderline(underMouse());
  painter.setFont(font);
  painter.setPen(palette().color(QPalette::WindowText));
  // Isolated after it was shortened, which could leave one half of a pair of marks.
  painter.drawText(rect().adjusted(left + size + kGap, 0, 0, 0),
                   Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine | Qt::TextForceLeftToRight,
                   IsolatedPath(shown));
  if (hasFocus() && window()->testAttribute(Qt::WA_KeyboardFocusChange)) {
    QStyleOptionFocusRect option;
    option.initFrom(this);
    option.rect = QRect(left, 0, used, height());
    style()->drawPrimitive(QStyle::PE_FrameFocusRect, &option, &painter, this);
  }
}

void ProxyIcon::mousePressEvent(QMouseEvent *event) {
  pressedAt_ = event->position().toPoint();
  QAbstractButton::mousePressEvent(event);
}

void ProxyIcon::mouseMoveEvent(QMouseEvent *event) {
  const QPoint moved = event->position().toPoint() - pressedAt_;
  // A drag has an event loop of its own, in which a run could not go on: it waits for the idle.
  if ((event->buttons() & Qt::LeftButton) && !path_.empty() && !IsTimerFiring() &&
      moved.manhattanLength() >= QApplication::startDragDistance()) {
    setDown(false);
    DragOut();
    return;
  }
  QAbstractButton::mouseMoveEvent(event);
}

void ProxyIcon::DragOut() {
  auto *folder = new QMimeData;  // Owned by the drag, which Qt deletes when it is over.
  folder->setData(QStringLiteral("text/uri-list"),
                  QByteArray::fromStdString(UriFromPath(path_) + "\r\n"));
  folder->setText(text());
  auto *drag = new QDrag(this);
  drag->setMimeData(folder);
  drag->setPixmap(FolderIcon(*this).pixmap(2 * IconSize()));
  // Never as a move: the program's own folder is only pointed at.
  drag->exec(Qt::CopyAction | Qt::LinkAction, Qt::CopyAction);
}

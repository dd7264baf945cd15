#include "platform/desktop/windows/sheet_place.h"

#include <QAbstractButton>
#include <QScreen>
#include <QStyle>
#include <array>
#include <optional>
#include <tuple>

#include "platform/desktop/windows/interface_file.h"
#include "platform/events.h"

namespace {

/// The window's Stop button, seen or not: a run may begin at any time.
QRect StopButtonOf(const QWidget &window) {
  constexpr int kGap = 6;
  for (const QAbstractButton *button : window.findChildren<QAbstractButton *>()) {
    if (CodeProperty(*button, "commandID") == kHICommandCancel)
      return QRect(button->mapToGlobal(QPoint(0, 0)), button->size())
          .adjusted(-kGap, -kGap, kGap, kGap);
  }
  return {};
}

/// The parts of the screen on each side of `taken`.
std::array<QRect, 4> Around(const QRect &taken, const QRect &screen) {
  QRect left = screen;
  QRect right = screen;
  QRect above = screen;
  QRect below = screen;
  left.setRight(taken.left() - 1);
  right.setLeft(taken.right() + 1);
  above.setBottom(taken.top() - 1);
  below.setTop(taken.bottom() + 1);
  return {left, right, above, below};
}

/// The place in `room` that is nearest to the middle of the window.
QRect PlaceIn(const QRect &room, QSize wanted, const QPoint &middle, int scrollBar) {
  if (wanted.height() > room.height()) wanted.rwidth() += scrollBar;
  QRect place(QPoint(0, 0), wanted.boundedTo(room.size()));
  place.moveCenter(middle);
  place.moveLeft(qBound(room.left(), place.left(), room.right() + 1 - place.width()));
  place.moveTop(qBound(room.top(), place.top(), room.bottom() + 1 - place.height()));
  return place;
}

}  // namespace

void PlaceSheet(QWidget &sheet, const QWidget &window) {
  const QRect screen = window.screen()->availableGeometry();
  // The sheet's own frame is not there yet; the window's is of the same kind.
  const QSize frame = window.frameGeometry().size() - window.size();
  const QSize wanted = sheet.sizeHint() + frame;
  const QPoint middle = window.frameGeometry().center();
  const int scrollBar = sheet.style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, &sheet);

  std::optional<QRect> best;
  const auto rank = [&](const QRect &place) {
    // A sheet is scrolled down rather than across, and stays near its window.
    return std::tuple(qMin(place.width(), wanted.width()), place.height(),
                      -(place.center() - middle).manhattanLength());
  };
  for (const QRect &room : Around(StopButtonOf(window), screen)) {
    const QRect part = room.intersected(screen);
    if (part.isEmpty()) continue;
    const QRect place = PlaceIn(part, wanted, middle, scrollBar);
    if (!best || rank(place) > rank(*best)) best = place;
  }
  if (!best) return;
  sheet.resize(best->size() - frame);
  sheet.move(best->topLeft());
}

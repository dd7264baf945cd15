/// A part of a window that is scrolled where there is no room for all of it.
#pragma once

#include <QScrollArea>

/// Asks for all the room that its content takes, where Qt's own stops at some lines of text.
class ScrollPane final : public QScrollArea {
  Q_OBJECT

 public:
  using QScrollArea::QScrollArea;
  QSize sizeHint() const override {
    return widget() != nullptr ? widget()->sizeHint() : QScrollArea::sizeHint();
  }
};

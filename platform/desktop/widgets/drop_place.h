/// A part of the window that is there only while something is dragged over it.
#pragma once

#include <QLabel>

/// Says in a dashed frame what a drop on it means; stands out while it would be taken. The drop
/// itself is taken by the window.
class DropPlace final : public QLabel {
  Q_OBJECT

 public:
  /// Lies over what else is in `parent`, at its lower edge.
  explicit DropPlace(QWidget *parent);

  void ShowText(const QString &text);
  void SetTargeted(bool isTargeted);

 protected:
  void paintEvent(QPaintEvent *event) override;

 private:
  bool isTargeted_ = false;
};

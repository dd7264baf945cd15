/// The row that stands for the folder being flattened.
#pragma once

#include <QAbstractButton>
#include <string>

/// A folder's icon and path. It can be dragged out as the folder; a click opens the folder in the
/// file manager. Takes the same room while it stands for nothing.
class ProxyIcon final : public QAbstractButton {
  Q_OBJECT

 public:
  explicit ProxyIcon(QWidget *parent);

  /// Stands for the item at `path`, bytes as on disk.
  void SetItem(const std::string &path);
  /// Whether the item has just been changed; shown by a faded icon.
  void SetModified(bool modified);

  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent *event) override;
  void mousePressEvent(QMouseEvent *event) override;
  void mouseMoveEvent(QMouseEvent *event) override;

 private:
  void DragOut();
  int IconSize() const;

  std::string path_;
  bool modified_ = false;
  QPoint pressedAt_;
};

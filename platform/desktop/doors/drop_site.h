/// A window's share in drags: its handlers, and the frame around it while it would take a drop.
#pragma once

#include <QDropEvent>
#include <QFrame>
#include <QPointer>
#include <string>
#include <vector>

#include "platform/desktop/widgets/drop_place.h"
#include "platform/drags.h"

/// What is being dragged: the folders in it that are let in. Nothing else is offered, so that a
/// drag without any of them is not taken for one that could be dropped.
struct OpaqueDrag {
  std::vector<HFSFlavor> items;
  WindowRef window;  ///< the window that it is over
  bool isOverPlace;  ///< the place in it that is shown by ShowDragPlace
};

/// Takes the drags over one window to the handlers installed on it. Belongs to the window.
class DropSite final : public QObject {
  Q_OBJECT

 public:
  /// The one of that window, which has one from then on.
  static DropSite &Of(WindowRef window);

  bool eventFilter(QObject *watched, QEvent *event) override;

  void ShowFrame(const Rect &area);
  void HideFrame();
  void ShowPlace(const QString &text);
  void HidePlace();

  DragTrackingHandlerProc tracking = nullptr;
  void *trackingRefCon = nullptr;
  DragReceiveHandlerProc receive = nullptr;
  void *receiveRefCon = nullptr;

 private:
  explicit DropSite(WindowRef window);

  void Enter(const QMimeData &data);
  void Leave();
  void TellWhyNot() const;
  void Track(DragTrackingMessage message);
  void LookWhetherOverPlace(const QDropEvent &event);

  WindowRef window_;
  OpaqueDrag drag_{};
  std::vector<std::string> problems_;  ///< with what else is being dragged
  bool isInside_ = false;
  bool isAcceptable_ = false;
  QPointer<QFrame> frame_;  ///< says that a drop would be taken
  QPointer<DropPlace> place_;
};

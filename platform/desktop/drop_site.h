/// A window's share in drags: its handlers, and the frame around it while it would take a drop.
#pragma once

#include <QDropEvent>
#include <QPointer>
#include <QWidget>
#include <string>
#include <vector>

#include "platform/drags.h"

/// What is being dragged: the folders in it that are let in. Nothing else is offered, so that a
/// drag without any of them is not taken for one that could be dropped.
struct OpaqueDrag {
  std::vector<HFSFlavor> items;
  WindowRef window;  ///< the window that it is over
};

/// Takes the drags over one window to the handlers installed on it.
class DropSite {
 public:
  DropSite(WindowRef window, QWidget *content) : window_(window), content_(content) {}

  /// Whether the event was one of a drag.
  bool Handle(QEvent *event);

  void ShowFrame(const Rect &bounds, bool inside);
  void HideFrame();

  DragTrackingHandlerUPP tracking = nullptr;
  void *trackingRefCon = nullptr;
  DragReceiveHandlerUPP receive = nullptr;
  void *receiveRefCon = nullptr;

 private:
  void Enter(const QMimeData &data);
  void Leave();
  void TellWhyNot() const;
  void Track(DragTrackingMessage message);

  WindowRef window_;
  QWidget *content_;
  OpaqueDrag drag_{};
  std::vector<std::string> problems_;  ///< with what else is being dragged
  bool isInside_ = false;
  bool isAcceptable_ = false;
  QPointer<QWidget> frame_;
};

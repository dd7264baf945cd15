#include "platform/desktop/doors/drop_site.h"

#include <QFrame>
#include <QMimeData>
#include <optional>
#include <utility>

#include "platform/desktop/doors/documents.h"
#include "platform/desktop/windows/notices.h"
#include "platform/desktop/windows/window.h"

namespace {

constexpr OSType kFolderType = FourChars("fold");
constexpr OSType kFolderCreator = FourChars("MACS");

/// None when the folder has just gone.
std::optional<HFSFlavor> FlavorOf(const FSRef &folder) {
  HFSFlavor flavor{kFolderType, kFolderCreator, {}, {}};
  if (FSGetCatalogInfo(folder, kFSCatInfoNone, nullptr, nullptr, &flavor.fileSpec, nullptr) !=
      noErr)
    return std::nullopt;
  return flavor;
}

}  // namespace

DropSite::DropSite(WindowRef window) : QObject(window), window_(window) {
  window_->widget->installEventFilter(this);
}

DropSite &DropSite::Of(WindowRef window) {
  auto *site = window->findChild<DropSite *>();
  return site != nullptr ? *site : *new DropSite(window);  // Belongs to the window.
}

bool DropSite::eventFilter(QObject *watched, QEvent *event) {
  switch (event->type()) {
    case QEvent::DragEnter:
      Enter(*static_cast<QDragEnterEvent *>(event)->mimeData());
      break;
    case QEvent::DragMove:
      LookWhetherOverPlace(*static_cast<QDropEvent *>(event));
      Track(kDragTrackingInWindow);
      break;
    case QEvent::DragLeave:
      Leave();
      return true;
    case QEvent::Drop:
      LookWhetherOverPlace(*static_cast<QDropEvent *>(event));
      Leave();
      if (isAcceptable_) TellWhyNot();
      if (!isAcceptable_ || receive == nullptr) break;
      isAcceptable_ = receive(window_, receiveRefCon, &drag_) == noErr;
      if (!isAcceptable_) TellProblem("what was dropped is no longer there");
      break;
    default:
      return QObject::eventFilter(watched, event);
  }
  auto *drop = static_cast<QDropEvent *>(event);
  if (isAcceptable_) {
    // The sender must never think that its files are its own to remove after a move.
    drop->setDropAction(drop->possibleActions() & Qt::CopyAction ? Qt::CopyAction : Qt::LinkAction);
    drop->accept();
  } else {
    drop->ignore();
  }
  return true;
}

void DropSite::Enter(const QMimeData &data) {
  if (isInside_) Leave();
  isInside_ = true;
  drag_.window = window_;
  drag_.isOverPlace = false;
  drag_.items.clear();
  DragContent content = ContentOfDrag(data);
  problems_ = std::move(content.problems);
  for (const FSRef &folder : content.folders) {
    if (const std::optional<HFSFlavor> flavor = FlavorOf(folder)) drag_.items.push_back(*flavor);
  }
  isAcceptable_ = tracking != nullptr &&
                  tracking(kDragTrackingEnterHandler, window_, trackingRefCon, &drag_) == noErr;
  Track(kDragTrackingEnterWindow);
  // What is not taken is never dropped: this is the moment to say why.
  if (!isAcceptable_) TellWhyNot();
}

/// Tells of what is dragged and is not let in.
void DropSite::TellWhyNot() const {
  ForgetProblems();
  for (const std::string &problem : problems_) TellProblem(problem);
}

void DropSite::Leave() {
  if (!isInside_) return;
  isInside_ = false;
  Track(kDragTrackingLeaveWindow);
  Track(kDragTrackingLeaveHandler);
}

void DropSite::Track(DragTrackingMessage message) {
  if (tracking != nullptr) (void)tracking(message, window_, trackingRefCon, &drag_);
}

void DropSite::ShowFrame(const Rect &area) {
  if (frame_ == nullptr) {
    // Lies over everything and takes no event.
    frame_ = new QFrame(window_->content);
    frame_->setAttribute(Qt::WA_TransparentForMouseEvents);
    frame_->setFrameStyle(QFrame::Box | QFrame::Plain);
    frame_->setLineWidth(3);
    frame_->setForegroundRole(QPalette::Highlight);
  }
  frame_->setGeometry(area.left, area.top, area.right - area.left, area.bottom - area.top);
  frame_->raise();
  frame_->show();
}

void DropSite::HideFrame() {
  if (frame_ != nullptr) frame_->hide();
}

void DropSite::ShowPlace(const QString &text) {
  if (place_ == nullptr) place_ = new DropPlace(window_->content);
  place_->ShowText(text);
}

void DropSite::HidePlace() {
  if (place_ != nullptr) place_->hide();
}

/// Where a drop falls decides, not where the drag was seen last.
void DropSite::LookWhetherOverPlace(const QDropEvent &event) {
  if (place_ == nullptr || place_->isHidden()) return;
  const QPoint point = window_->content->mapFrom(window_->widget, event.position().toPoint());
  drag_.isOverPlace = place_->geometry().contains(point);
  place_->SetTargeted(drag_.isOverPlace);
}

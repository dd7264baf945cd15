#include "platform/desktop/windows/window.h"

#include <QAbstractButton>
#include <QApplication>
#include <QKeyEvent>
#include <QMainWindow>

#include "platform/common/event_dispatch.h"
#include "platform/desktop/windows/commands.h"
#include "platform/desktop/windows/interface_file.h"

namespace {

QWidget *ContentOf(QWidget *widget) {
  auto *mainWindow = qobject_cast<QMainWindow *>(widget);
  if (mainWindow == nullptr || mainWindow->centralWidget() == nullptr) return widget;
  return mainWindow->centralWidget();
}

/// The command of a button, or of the choice that it belongs to.
OSType CommandOf(const QAbstractButton &button) {
  if (const OSType command = CodeProperty(button, "commandID")) return command;
  return button.property("value").isValid() ? CodeProperty(*button.parent(), "commandID") : 0;
}

}  // namespace

OpaqueWindow::OpaqueWindow(QWidget *loaded)
    : QObject(loaded),
      widget(loaded),
      content(ContentOf(loaded)),
      target(NewEventTarget()),
      controls(ControlsOfWindow(*loaded)) {
  widget->installEventFilter(this);
  for (QAbstractButton *button : widget->findChildren<QAbstractButton *>()) {
    const OSType command = CommandOf(*button);
    if (command == 0) continue;
    // Only what the user does: a value that the program sets is no command.
    connect(button, &QAbstractButton::clicked, this, [this, command] { Give(command); });
  }
}

OpaqueWindow::~OpaqueWindow() {
  DisposeEventTarget(target);
}

void OpaqueWindow::Give(OSType command) {
  // A sheet's Cancel closes the sheet and stops nothing that would have to be asked about.
  if (isSheet && command == kHICommandCancel) {
    (void)SendCommand(target, command);
  } else {
    GiveCommand(target, command);
  }
}

bool OpaqueWindow::eventFilter(QObject *watched, QEvent *event) {
  switch (event->type()) {
    case QEvent::Close:
      // The program decides when a window goes: closing is a command like any other. Only a session
      // that is being saved must not be told that the window refuses to close.
      event->setAccepted(qApp->isSavingSession());
      Give(isSheet ? kHICommandCancel : kHICommandQuit);
      return true;
    case QEvent::WindowActivate:
      SendWindowActivated(target);
      break;
    case QEvent::KeyPress:
      if (isSheet && static_cast<QKeyEvent *>(event)->matches(QKeySequence::Cancel)) {
        Give(kHICommandCancel);
        return true;
      }
      break;
    default:
      break;
  }
  return QObject::eventFilter(watched, event);
}

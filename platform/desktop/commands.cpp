#include "platform/desktop/commands.h"

#include <QApplication>
#include <QMessageBox>
#include <QPointer>

#include "platform/desktop/ending_question.h"
#include "platform/desktop/folder_chooser.h"
#include "platform/desktop/window.h"

namespace {

QWidget *Parent() {
  const WindowRef window = MainDesktopWindow();
  return window != nullptr ? window->widget : nullptr;
}

/// Both windows are shown beside the event loop, never in one of their own: a run goes on behind
/// them, and its Stop button can be pressed.
void ChooseFolder() {
  static QPointer<FolderChooser> chooser;
  if (chooser == nullptr) chooser = new FolderChooser(Parent());
  BringUp(*chooser);
}

void ShowAboutBox() {
  static QPointer<QMessageBox> box;
  if (box == nullptr) {
    box = new QMessageBox(Parent());
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setModal(false);
    box->setWindowTitle(QObject::tr("About Vannerly"));
    box->setIconPixmap(QApplication::windowIcon().pixmap(64));
    box->setTextFormat(Qt::PlainText);
    box->setText(QObject::tr("Vannerly %1").arg(QCoreApplication::applicationVersion()));
    box->setInformativeText(
        QObject::tr("Flattens folders: every file below a folder is moved up into it.\n\n"
                    "© the Vannerly authors. Free software under the MIT licence, without any "
                    "warranty."));
    box->setStandardButtons(QMessageBox::Close);
  }
  BringUp(*box);
}

}  // namespace

void BringUp(QWidget &window) {
  window.show();
  window.raise();
  window.activateWindow();
}

void GiveCommand(EventTargetRef target, OSType commandID) {
  if (HasToAskBefore(target, commandID)) return;
  if (SendCommand(target, commandID) != eventNotHandledErr) return;
  if (commandID == kHICommandOpen) ChooseFolder();
  if (commandID == kHICommandAbout) ShowAboutBox();
}

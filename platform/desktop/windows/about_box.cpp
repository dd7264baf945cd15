#include "platform/desktop/windows/about_box.h"

#include <QApplication>
#include <QMessageBox>
#include <QPointer>

#include "platform/desktop/windows/main_window.h"

void ShowAboutBox() {
  static QPointer<QMessageBox> box;
  if (box == nullptr) {
    box = new QMessageBox(MainWindow());
    box->setAttribute(Qt::WA_DeleteOnClose);
    // A run goes on behind it, and its Stop button can be pressed.
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

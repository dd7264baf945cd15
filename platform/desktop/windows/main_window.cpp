#include "platform/desktop/windows/main_window.h"

#include <QPointer>

namespace {

QPointer<QWidget> mainWindow;

}  // namespace

QWidget *MainWindow() {
  return mainWindow;
}

void SetMainWindow(QWidget *window) {
  mainWindow = window;
}

void BringUp(QWidget &window) {
  window.show();
  window.raise();
  window.activateWindow();
}

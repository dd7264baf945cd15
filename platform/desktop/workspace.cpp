#include "platform/workspace.h"

#include <QApplication>
#include <QDesktopServices>
#include <QUrl>

#include "platform/plan.h"

bool NSWorkspace::openURL(const std::string &url) {
  return QDesktopServices::openUrl(QUrl::fromEncoded(QByteArray::fromStdString(url)));
}

// A plan tells in its list what would not work.
void NSBeep() {
  if (!IsPlanning()) QApplication::beep();
}

void SysBeep(std::int16_t) {
  QApplication::beep();
}

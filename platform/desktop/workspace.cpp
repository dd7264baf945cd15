#include "platform/workspace.h"

#include <QApplication>
#include <QDesktopServices>
#include <QUrl>

bool NSWorkspace::openURL(const std::string &url) {
  return QDesktopServices::openUrl(QUrl::fromEncoded(QByteArray::fromStdString(url)));
}

void NSBeep() {
  QApplication::beep();
}

void SysBeep(std::int16_t) {
  QApplication::beep();
}

#include "platform/desktop/results/show_item.h"

#include <sys/stat.h>

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include "platform/desktop/text/uris.h"
#include "platform/workspace.h"

namespace {

constexpr int kMillisecondsToAnswer = 5000;

bool IsThere(const std::string &path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0;
}

void OpenFolderOf(std::string path) {
  do {
    path.resize(path.rfind('/'));
  } while (!path.empty() && !IsThere(path));
  (void)NSWorkspace::sharedWorkspace().openURL(UriFromPath(path.empty() ? "/" : path));
}

}  // namespace

void ShowItemInFolder(const std::string &path) {
  if (!path.starts_with('/')) return;
  const QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected() || !IsThere(path)) return OpenFolderOf(path);
  QDBusMessage call = QDBusMessage::createMethodCall(
      QStringLiteral("org.freedesktop.FileManager1"),
      QStringLiteral("/org/freedesktop/FileManager1"),
      QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
  call << QStringList(QString::fromStdString(UriFromPath(path))) << QString();
  // The answer is not waited for: a file manager takes its time to start, and a run may be on.
  auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, kMillisecondsToAnswer), qApp);
  QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, path] {
    watcher->deleteLater();
    if (watcher->isError()) OpenFolderOf(path);
  });
}

#include "platform/desktop/documents.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>

#include "platform/common/event_dispatch.h"
#include "platform/desktop/door.h"
#include "platform/desktop/uris.h"

namespace {

constexpr int kMillisecondsForPortal = 1000;

/// The paths behind a file transfer, in which a program in a sandbox drags its files. They are
/// handed out once, so that they are kept from the drag's entering to its drop.
QStringList PathsOfTransfer(const QString &key) {
  static QString lastKey;
  static QStringList lastPaths;
  if (key == lastKey) return lastPaths;
  QDBusMessage call = QDBusMessage::createMethodCall(
      QStringLiteral("org.freedesktop.portal.Documents"),
      QStringLiteral("/org/freedesktop/portal/documents"),
      QStringLiteral("org.freedesktop.portal.FileTransfer"), QStringLiteral("RetrieveFiles"));
  call << key << QVariantMap{};
  const QDBusReply<QStringList> paths =
      QDBusConnection::sessionBus().call(call, QDBus::Block, kMillisecondsForPortal);
  if (!paths.isValid()) return {};
  lastKey = key;
  lastPaths = paths.value();
  return lastPaths;
}

/// The key under which a file-transfer portal holds the dragged files; empty when none is offered.
QByteArray KeyOfTransfer(const QMimeData &data) {
  for (const char *format :
       {"application/vnd.portal.filetransfer", "application/vnd.portal.files"}) {
    QByteArray key = data.data(QLatin1String(format));
    while (key.endsWith('\0')) key.chop(1);
    if (!key.isEmpty()) return key;
  }
  return {};
}

}  // namespace

std::vector<std::optional<FSRef>> ItemsOfDrag(const QMimeData &data) {
  std::vector<std::optional<FSRef>> items;
  const auto add = [&items](const std::optional<std::string> &path) {
    items.push_back(path ? LetIn(*path).item : std::nullopt);
  };
  // Where the portal is offered only its answer counts: the list beside it may name what stands at
  // those paths in the source's sandbox, and here they may lead to other folders.
  if (const QByteArray key = KeyOfTransfer(data); !key.isEmpty()) {
    for (const QString &path : PathsOfTransfer(QString::fromUtf8(key)))
      add(path.startsWith(QLatin1Char('/')) ? std::optional(path.toLocal8Bit().toStdString())
                                            : std::nullopt);
  } else {
    for (const std::string &uri :
         LinesOfUriList(data.data(QStringLiteral("text/uri-list")).toStdString()))
      add(LocalPathFromUri(uri));
  }
  // What is dragged but names no file still counts as an item.
  if (items.empty() && !data.formats().isEmpty()) items.emplace_back();
  return items;
}

void OpenUris(const QStringList &uris) {
  std::vector<FSRef> items;
  for (const QString &uri : uris) {
    const auto path = LocalPathFromUri(uri.toStdString());
    if (!path) continue;
    if (const ItemAtDoor door = LetIn(*path); door.item) items.push_back(*door.item);
  }
  if (!items.empty()) (void)SendOpenDocuments(items);
}

#include "platform/desktop/doors/documents.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>

#include "platform/common/event_dispatch.h"
#include "platform/desktop/doors/door.h"
#include "platform/desktop/text/uris.h"
#include "platform/desktop/windows/notices.h"
#include "platform/processes.h"

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

DragContent ContentOfDrag(const QMimeData &data) {
  DragContent content;
  const auto add = [&content](const Admission &admission) {
    if (admission.folder) {
      content.folders.push_back(*admission.folder);
    } else {
      content.problems.push_back(admission.path + ": " + admission.reason);
    }
  };
  // Where the portal is offered only its answer counts: the list beside it may name what stands at
  // those paths in the source's sandbox, and here they may lead to other folders.
  if (const QByteArray key = KeyOfTransfer(data); !key.isEmpty()) {
    for (const QString &path : PathsOfTransfer(QString::fromUtf8(key)))
      if (path.startsWith(QLatin1Char('/')))
        add(AdmitFolder(path.toLocal8Bit().toStdString(), false));
  } else {
    for (const std::string &uri :
         LinesOfUriList(data.data(QStringLiteral("text/uri-list")).toStdString()))
      add(AdmitUri(uri));
  }
  return content;
}

void SendUris(AEEventID eventID, const QStringList &uris) {
  ForgetProblems();
  std::vector<FSRef> folders;
  for (const QString &uri : uris) {
    const Admission admission = AdmitUri(uri.toStdString());
    if (admission.folder) {
      folders.push_back(*admission.folder);
    } else {
      TellProblem(admission.path + ": " + admission.reason);
    }
  }
  if (!folders.empty()) {
    (void)SendDocuments(eventID, folders);
  } else {
    (void)SetFrontProcess({0, kCurrentProcess});  // Where the reason can be read.
  }
}

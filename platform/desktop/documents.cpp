#include "platform/desktop/documents.h"

#include <pwd.h>
#include <unistd.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <array>
#include <cstdlib>
#include <filesystem>

#include "platform/common/event_dispatch.h"

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kScheme = "file:";
constexpr int kMillisecondsForPortal = 1000;

std::string HostName() {
  std::array<char, 256> name{};
  (void)gethostname(name.data(), name.size() - 1);
  return name.data();
}

/// The user's home folder: where the environment says, and where the system says.
bool IsHome(const fs::path &path) {
  std::error_code error;
  const char *environment = std::getenv("HOME");
  if (environment != nullptr && fs::equivalent(path, environment, error)) return true;
  const passwd *user = getpwuid(getuid());
  return user != nullptr && fs::equivalent(path, user->pw_dir, error);
}

/// Uris as a drag brings them: a line each, comments left out.
std::vector<std::string> LinesOfUriList(const QByteArray &list) {
  std::vector<std::string> lines;
  for (const QByteArray &line : list.split('\n')) {
    const QByteArray uri = line.trimmed();
    if (!uri.isEmpty() && !uri.startsWith('#') && uri != QByteArray(1, '\0'))
      lines.push_back(uri.toStdString());
  }
  return lines;
}

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

std::optional<std::string> LocalPathFromUri(std::string_view uri) {
  if (uri.size() < kScheme.size() ||
      QByteArray::fromRawData(uri.data(), kScheme.size()).toLower() != kScheme.data())
    return std::nullopt;
  std::string_view rest = uri.substr(kScheme.size());
  if (rest.starts_with("//")) {
    rest.remove_prefix(2);
    const std::string_view host = rest.substr(0, rest.find('/'));
    if (!host.empty() && host != "localhost" && host != HostName()) return std::nullopt;
    rest.remove_prefix(host.size());
  }
  // A fragment or query names a part of a file, which is nothing that can be flattened.
  if (!rest.starts_with('/') || rest.find_first_of("#?") != std::string_view::npos)
    return std::nullopt;
  std::string path =
      QByteArray::fromPercentEncoding(QByteArray(rest.data(), static_cast<qsizetype>(rest.size())))
          .toStdString();
  if (path.find('\0') != std::string::npos) return std::nullopt;
  return path;
}

std::string UriFromPath(std::string_view path) {
  const QByteArray bytes(path.data(), static_cast<qsizetype>(path.size()));
  return "file://" + bytes.toPercentEncoding("/").toStdString();
}

ItemAtDoor LetIn(const std::string &path) {
  std::error_code error;
  const fs::path given(path);
  const bool isFolder = fs::is_directory(given, error);
  if (error) return {{}, {}, error.message()};
  // A folder is meant as the place it is; of anything else the item itself is meant, a link too.
  const fs::path whole = fs::absolute(given, error);
  const fs::path place = isFolder ? fs::canonical(whole, error)
                                  : fs::canonical(whole.parent_path(), error) / whole.filename();
  if (error) return {{}, {}, error.message()};
  if (place == place.root_path()) return {{}, {}, "The root folder is not flattened"};
  if (IsHome(place)) return {{}, {}, "Your home folder is not flattened"};

  FSRef item;
  if (const OSStatus status = FSPathMakeRef(place.c_str(), &item, nullptr); status != noErr)
    return {{}, {}, "Cannot be used (error " + std::to_string(status) + ")"};
  return {item, place.string(), {}};
}

ItemAtDoor LetInOperand(const std::string &operand) {
  std::error_code error;
  const bool exists = fs::symlink_status(operand, error).type() != fs::file_type::not_found;
  const std::size_t scheme = operand.find(':');
  if (exists || scheme == std::string::npos || scheme == 0) return LetIn(operand);
  if (const auto path = LocalPathFromUri(operand)) return LetIn(*path);
  if (operand.compare(scheme, 3, "://") == 0 || operand.starts_with(kScheme))
    return {{}, {}, "Not a folder on this machine"};
  return LetIn(operand);
}

std::vector<std::optional<FSRef>> ItemsOfDrag(const QMimeData &data) {
  std::vector<std::optional<FSRef>> items;
  const auto add = [&items](const std::optional<std::string> &path) {
    items.push_back(path ? LetIn(*path).item : std::nullopt);
  };
  // Where the portal is offered only its answer counts: the list beside it may name what stands at
  // those paths in the source's sandbox, and here they may lead to other folders.
  if (const QByteArray key = KeyOfTransfer(data); !key.isEmpty()) {
    for (const QString &path : PathsOfTransfer(QString::fromUtf8(key)))
      add(path.toLocal8Bit().toStdString());
  } else {
    for (const std::string &uri : LinesOfUriList(data.data(QStringLiteral("text/uri-list"))))
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

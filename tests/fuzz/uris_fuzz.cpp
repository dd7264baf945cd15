#include <QString>
#include <QUrl>
#include <cstdlib>

#include "platform/desktop/doors/door.h"
#include "platform/desktop/text/uris.h"
#include "tests/fuzz/fuzz.h"

namespace {

void LookAt(std::string_view uri) {
  const std::optional<std::string> path = LocalPathFromUri(uri);
  if (!path) return;
  Require(path->starts_with('/'), "an address leads to an absolute path or to none");
  Require(path->find('\0') == std::string::npos, "a path holds no zero");
  Require(LocalPathFromUri(UriFromPath(*path)) == path, "a path makes the round trip");
  const Admission admission = AdmitUri(std::string(uri));
  Require(admission.path.starts_with('/'), "it is named by an absolute path");
  Require(admission.folder.has_value() == admission.reason.empty(), "what stays out has a reason");
  Require(!admission.folder || (admission.path != "/" && admission.path != std::getenv("HOME")),
          "the root and the home stay out");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  (void)setenv("HOME", "/usr/share", 1);
  const std::string_view text = TextOfInput(data, size);
  for (const std::string &line : LinesOfUriList(text)) {
    Require(!line.empty() && line.front() != '#', "comments and empty lines are left out");
    Require(line.find('\n') == std::string::npos, "an address is one line");
    LookAt(line);
    // As an argument of the session bus the same address comes as text.
    LookAt(QString::fromUtf8(QByteArray::fromStdString(line)).toStdString());
    (void)AdmitOperand(line);
  }
  const std::string path = "/" + std::string(text.substr(0, text.find('\0')));
  Require(LocalPathFromUri(UriFromPath(path)) == path, "any path makes the round trip");
  return 0;
}

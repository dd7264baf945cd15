#include "platform/desktop/text/uris.h"

#include <unistd.h>

#include <QByteArray>
#include <algorithm>
#include <array>

namespace {

constexpr std::string_view kScheme = "file:";

std::string HostName() {
  std::array<char, 256> name{};
  (void)gethostname(name.data(), name.size() - 1);
  return name.data();
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

std::vector<std::string> LinesOfUriList(std::string_view list) {
  constexpr std::string_view kBlanks(" \t\v\f\r\0", 6);  // a terminating zero comes with some lists
  std::vector<std::string> lines;
  while (!list.empty()) {
    const std::size_t length = std::min(list.find('\n'), list.size());
    std::string_view line = list.substr(0, length);
    list.remove_prefix(std::min(length + 1, list.size()));
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    line = line.substr(0, line.find_last_not_of(kBlanks) + 1);
    if (!line.empty() && line.front() != '#') lines.emplace_back(line);
  }
  return lines;
}

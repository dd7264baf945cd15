#include "platform/linux/trash/trash_info.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <ctime>

#include "platform/linux/system/disk_names.h"

namespace {

constexpr std::string_view kGroup = "[Trash Info]";
constexpr std::string_view kPathKey = "Path=";

bool IsUnreserved(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
         (character >= '0' && character <= '9') ||
         std::string_view("-._~/").find(character) != std::string_view::npos;
}

/// The local time, as the file wants it.
std::string DateNow() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  (void)localtime_r(&now, &parts);
  char text[32];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts)};
}

/// The beginning of a name that has no more than so many bytes and ends with a whole character;
/// bytes that are no text count as characters.
std::string_view BeginningOf(std::string_view name, std::size_t most) {
  std::size_t end = 0;
  while (end < name.size()) {
    char32_t codePoint = 0;
    const std::size_t length = std::max<std::size_t>(Utf8SequenceLength(name, end, &codePoint), 1);
    if (end + length > most) break;
    end += length;
  }
  return name.substr(0, end);
}

}  // namespace

std::string PercentEncoded(std::string_view bytes) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const char character : bytes) {
    if (IsUnreserved(character)) {
      text += character;
    } else {
      const auto byte = static_cast<unsigned char>(character);
      text.append({'%', kDigits[byte >> 4], kDigits[byte & 0xF]});
    }
  }
  return text;
}

std::optional<std::string> PercentDecoded(std::string_view text) {
  std::string bytes;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '%') {
      bytes += text[at];
      continue;
    }
    const std::string_view digits = text.substr(at + 1, 2);
    unsigned value = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    if (digits.size() != 2 || error != std::errc() || end != digits.data() + 2) return std::nullopt;
    bytes += static_cast<char>(value);
    at += 2;
  }
  return bytes;
}

std::string TrashInfoText(std::string_view path) {
  return std::string(kGroup) + "\n" + std::string(kPathKey) + PercentEncoded(path) +
         "\nDeletionDate=" + DateNow() + "\n";
}

std::optional<std::string> PathInTrashInfo(std::string_view text) {
  bool isInGroup = false;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    if (line.starts_with('[')) isInGroup = line == kGroup;
    // Of several the first counts.
    if (isInGroup && line.starts_with(kPathKey)) {
      return PercentDecoded(line.substr(kPathKey.size()));
    }
  }
  return std::nullopt;
}

std::string NameInTrash(std::string_view name, int number) {
  const std::string end = number == 1 ? std::string() : " " + std::to_string(number);
  const std::size_t room = NAME_MAX - kTrashInfoSuffix.size() - end.size();
  return std::string(BeginningOf(name, room)) + end;
}

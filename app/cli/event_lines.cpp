#include "app/cli/event_lines.h"

#include <algorithm>

#include "app/report_words.h"
#include "platform/linux/tree/item_location.h"

namespace {

std::string Reason(OSErr error) {
  const ResultWords words = WordsOf(error);
  std::string text = std::string(": ") + words.reason + " (";
  if (*words.name != '\0') text.append(words.name).append(", ");
  return text + std::to_string(error) + ")";
}

/// What a place in the words of an event stands for.
std::string TextFor(std::string_view place, const RunNote &note, const std::string &path) {
  if (place == "reason") return Reason(note.error);
  if (place == "count") return std::to_string(note.count);
  if (place == "old") return note.oldPath != nullptr ? " as " + *note.oldPath : "";
  const std::string now = note.now != nullptr ? PathOnDisk(*note.now) : path;
  if (place == "name") return now.substr(now.rfind('/') + 1);
  return now != path ? "; its name is now " + now : "";
}

}  // namespace

std::string Expanded(std::string_view words, const RunNote &note, const std::string &path) {
  std::string line;
  while (!words.empty()) {
    const std::size_t begin = std::min(words.find('{'), words.size());
    line += words.substr(0, begin);
    words.remove_prefix(begin);
    if (words.empty()) break;
    const std::size_t end = words.find('}');
    line += TextFor(words.substr(1, end - 1), note, path);
    words.remove_prefix(end + 1);
  }
  return line;
}

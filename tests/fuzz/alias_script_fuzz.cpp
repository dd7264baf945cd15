#include <algorithm>

#include "platform/posix/alias_script.h"
#include "platform/posix/disk_names.h"
#include "tests/fuzz/fuzz.h"

namespace {

std::u16string Script(std::u16string_view folder, std::u16string_view file) {
  std::u16string source = u"tell application \"Finder\" \rmake new alias file at  POSIX file \"";
  source.append(folder).append(u"\" to POSIX file \"").append(file);
  return source + u"\" \r end tell";
}

std::u16string Escaped(std::u16string_view text) {
  std::u16string escaped;
  for (const char16_t unit : text) {
    if (unit == u'"' || unit == u'\\') escaped += u'\\';
    escaped += unit;
  }
  return escaped;
}

bool Leads(const std::optional<AliasScript> &script, std::u16string_view folder,
           std::u16string_view file) {
  return script && script->folder == folder && script->file == file;
}

/// What a literal without a bare double quote means.
std::u16string Unescaped(std::u16string_view literal) {
  std::u16string text;
  for (std::size_t i = 0; i < literal.size(); ++i) {
    char16_t unit = literal[i];
    if (unit == u'\\' && i + 1 < literal.size()) {
      unit = literal[++i];
      if (unit == u'n') unit = u'\n';
      if (unit == u'r') unit = u'\r';
      if (unit == u't') unit = u'\t';
    }
    text += unit;
  }
  return text;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const std::u16string source = TextFromDisk(TextOfInput(data, size));
  if (const auto script = ParseAliasScript(source)) {
    Require(Leads(ParseAliasScript(Script(Escaped(script->folder), Escaped(script->file))),
                  script->folder, script->file),
            "a script written anew means the same");
  }
  // Two paths as they would go into the script of a run: whatever they hold, they stay paths.
  const std::size_t middle = std::min(source.find(u'|'), source.size());
  const std::u16string folder = u"/" + source.substr(0, middle);
  const std::u16string file = u"/" + source.substr(std::min(middle + 1, source.size()));
  Require(Leads(ParseAliasScript(Script(Escaped(folder), Escaped(file))), folder, file),
          "an escaped path stays as it is");
  const std::optional<AliasScript> raw = ParseAliasScript(Script(folder, file));
  Require(!raw || Leads(raw, Unescaped(folder), Unescaped(file)),
          "a path cannot say anything but a path");
  Require(raw || (folder + file).find_first_of(u"\"\\") != std::u16string::npos,
          "a path without quotes and backslashes makes a script");
  return 0;
}

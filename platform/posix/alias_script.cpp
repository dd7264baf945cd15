#include "platform/posix/alias_script.h"

#include <algorithm>

namespace {

char16_t AsciiLowered(char16_t unit) {
  return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + (u'a' - u'A')) : unit;
}

bool IsWordUnit(char16_t unit) {
  const char16_t lowered = AsciiLowered(unit);
  return (lowered >= u'a' && lowered <= u'z') || (unit >= u'0' && unit <= u'9') || unit == u'_';
}

bool IsLineEnd(char16_t unit) {
  return unit == u'\r' || unit == u'\n';
}

/// Reads the source from its start to its end. Each call skips the spaces before what it reads.
class CScriptReader {
 public:
  explicit CScriptReader(std::u16string_view source) : rest_(source) {}

  /// Reads these words, given in lower case with one space between them.
  bool ReadWords(std::u16string_view words) {
    while (!words.empty()) {
      const std::size_t length = std::min(words.find(u' '), words.size());
      if (!ReadWord(words.substr(0, length))) return false;
      words.remove_prefix(std::min(length + 1, words.size()));
    }
    return true;
  }

  bool ReadString(std::u16string *text) {
    SkipSpaces();
    if (!rest_.starts_with(u'"')) return false;
    text->clear();
    for (std::size_t i = 1; i < rest_.size(); ++i) {
      char16_t unit = rest_[i];
      if (unit == u'"') {
        rest_.remove_prefix(i + 1);
        return true;
      }
      if (unit == u'\\' && (++i == rest_.size() || !Unescape(rest_[i], &unit))) return false;
      text->push_back(unit);
    }
    return false;
  }

  /// Reads one line end or more.
  bool ReadLineEnds() {
    SkipSpaces();
    if (rest_.empty() || !IsLineEnd(rest_[0])) return false;
    SkipBlankLines();
    return true;
  }

  void SkipBlankLines() {
    for (SkipSpaces(); !rest_.empty() && IsLineEnd(rest_[0]); SkipSpaces()) rest_.remove_prefix(1);
  }

  bool IsAtEnd() const { return rest_.empty(); }

 private:
  void SkipSpaces() {
    while (rest_.starts_with(u' ') || rest_.starts_with(u'\t')) rest_.remove_prefix(1);
  }

  bool ReadWord(std::u16string_view word) {
    SkipSpaces();
    const auto isSame = [](char16_t wanted, char16_t unit) { return wanted == AsciiLowered(unit); };
    if (rest_.size() < word.size() ||
        !std::equal(word.begin(), word.end(), rest_.begin(), isSame)) {
      return false;
    }
    if (rest_.size() > word.size() && IsWordUnit(rest_[word.size()])) return false;
    rest_.remove_prefix(word.size());
    return true;
  }

  /// What a backslash and `unit` stand for.
  static bool Unescape(char16_t unit, char16_t *meant) {
    switch (unit) {
      case u'"':
      case u'\\':
        *meant = unit;
        return true;
      case u'n':
        *meant = u'\n';
        return true;
      case u'r':
        *meant = u'\r';
        return true;
      case u't':
        *meant = u'\t';
        return true;
      default:
        return false;
    }
  }

  std::u16string_view rest_;
};

}  // namespace

std::optional<AliasScript> ParseAliasScript(std::u16string_view source) {
  CScriptReader reader(source);
  AliasScript script;
  std::u16string application;
  reader.SkipBlankLines();
  const bool isTold = reader.ReadWords(u"tell application") && reader.ReadString(&application) &&
                      application == u"Finder" && reader.ReadLineEnds();
  if (!isTold) return std::nullopt;
  const bool isMade = reader.ReadWords(u"make new alias file at posix file") &&
                      reader.ReadString(&script.folder) && reader.ReadWords(u"to posix file") &&
                      reader.ReadString(&script.file) && reader.ReadLineEnds();
  if (!isMade || !reader.ReadWords(u"end tell")) return std::nullopt;
  reader.SkipBlankLines();
  if (!reader.IsAtEnd()) return std::nullopt;
  return script;
}

#include "app/json_writer.h"

#include <algorithm>
#include <cstdint>

#include "platform/linux/system/plain_text.h"
#include "platform/strings.h"

namespace {

bool IsUtf8(const std::string &bytes) {
  if (IsPlainText(bytes)) return true;
  const auto text = CFStringCreateWithCString(bytes.c_str(), kCFStringEncodingUTF8);
  if (!text) return false;
  for (std::size_t i = 0; i < text->size(); ++i) {
    const char16_t unit = (*text)[i];
    if (unit >= 0xDC00 && unit < 0xE000) return false;
    if (unit >= 0xD800 && unit < 0xDC00) ++i;  // The pair of a character beyond 16 bits.
  }
  return true;
}

/// RFC 4648.
std::string Base64(std::string_view bytes) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t start = 0; start < bytes.size(); start += 3) {
    const std::string_view group = bytes.substr(start, 3);
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      bits = bits << 8 | (i < group.size() ? static_cast<unsigned char>(group[i]) : 0u);
    }
    for (std::size_t i = 0; i < 4; ++i) {
      text += i <= group.size() ? kDigits[bits >> (18 - 6 * i) & 0x3F] : '=';
    }
  }
  return text;
}

constexpr std::size_t kIndentation = 2;
constexpr std::size_t kPiece = std::size_t{64} * 1024;

std::string Dump(const CJsonWriter::Json &value) {
  return value.dump(kIndentation, ' ', false, CJsonWriter::Json::error_handler_t::replace);
}

/// Whether a string is written as it is (RFC 8259, section 7), as nearly all are.
bool StandsAsItIs(std::string_view text) {
  return std::ranges::all_of(text, [](char character) {
    return character >= ' ' && character <= '~' && character != '"' && character != '\\';
  });
}

}  // namespace

void SetText(CJsonWriter::Json &object, const std::string &key, const std::string &bytes) {
  object[key] = bytes;
  if (!IsUtf8(bytes)) object[key + "Base64"] = Base64(bytes);
}

void CJsonWriter::Open(char bracket) {
  BeginValue();
  text_ += bracket;
  closers_ += bracket == '{' ? '}' : ']';
  isFirst_ = true;
}

void CJsonWriter::Close() {
  const char closer = closers_.back();
  closers_.pop_back();
  if (!isFirst_) BeginLine();
  text_ += closer;
  isFirst_ = false;
  if (text_.size() >= kPiece) HandOver();
}

void CJsonWriter::Key(std::string_view key) {
  BeginValue();
  if (StandsAsItIs(key)) {
    text_.append("\"").append(key).append("\": ");
  } else {
    text_.append(Dump(key)).append(": ");
  }
  hasKey_ = true;
}

void CJsonWriter::Text(std::string_view key, const std::string &bytes) {
  if (StandsAsItIs(bytes)) {
    Key(key);
    BeginValue();
    text_.append("\"").append(bytes).append("\"");
    return;
  }
  Json object;
  SetText(object, std::string(key), bytes);
  for (const auto &[name, value] : object.items()) Member(name, value);
}

void CJsonWriter::Value(const Json &value) {
  BeginValue();
  // A line end in a string is written as "\n", so those that are found are the layout's.
  const std::string text = Dump(value);
  std::size_t start = 0;
  for (std::size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
    text_.append(text, start, end - start);
    BeginLine();
  }
  text_.append(text, start);
  if (text_.size() >= kPiece) HandOver();
}

void CJsonWriter::End() {
  text_ += '\n';
  HandOver();
}

void CJsonWriter::BeginValue() {
  if (std::exchange(hasKey_, false)) return;
  if (!std::exchange(isFirst_, false)) text_ += ',';
  if (!closers_.empty()) BeginLine();
}

void CJsonWriter::BeginLine() {
  text_.append(1, '\n').append(closers_.size() * kIndentation, ' ');
}

void CJsonWriter::HandOver() {
  isTaken_ = isTaken_ && output_(text_);
  text_.clear();
}

#include "app/cli/json_writer.h"

namespace {

constexpr std::size_t kIndentation = 2;
constexpr std::size_t kPiece = std::size_t{64} * 1024;

std::string Dump(const CJsonWriter::Json &value) {
  return value.dump(kIndentation, ' ', false, CJsonWriter::Json::error_handler_t::replace);
}

}  // namespace

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
}

void CJsonWriter::Key(std::string_view key) {
  BeginValue();
  text_.append(Dump(key)).append(": ");
  hasKey_ = true;
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

#include "app/results/csv.h"

#include "platform/strings.h"

namespace {

void AppendField(const std::string &field, std::string *text) {
  std::string plain(3 * field.size() + 1, '\0');
  const auto units = CFStringCreateWithCString(field.c_str(), kCFStringEncodingUTF8);
  (void)CFStringGetCString(*units, plain.data(), plain.size(), kCFStringEncodingUTF8);
  text->push_back('"');
  for (const char *byte = plain.c_str(); *byte != '\0'; ++byte) {
    if (*byte == '"') text->push_back('"');
    text->push_back(*byte);
  }
  text->push_back('"');
}

}  // namespace

void AppendCsvRecord(std::span<const std::string> fields, std::string *text) {
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (i > 0) text->push_back(',');
    AppendField(fields[i], text);
  }
  *text += "\r\n";
}

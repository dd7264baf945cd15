#include <algorithm>

#include "platform/linux/packages/package_types.h"
#include "platform/linux/system/disk_names.h"
#include "tests/fuzz/fuzz.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const std::string_view text = TextOfInput(data, size);
  PackageTypes types;
  AddPackageTypes(text, &types);
  const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
  Require(types.size() <= lines, "a line is one type at the most");
  for (const std::u16string &type : types) {
    constexpr std::u16string_view kBlanks = u" \t\r";
    Require(!type.empty() && type.find_first_of(u"\n#") == std::u16string::npos,
            "a type is neither empty nor a comment");
    Require(kBlanks.find(type.front()) == kBlanks.npos && kBlanks.find(type.back()) == kBlanks.npos,
            "blanks around a type count for nothing");
    Require(FoldedExtension(type) == type, "case is taken away once and for all");
  }
  // What is listed is found, in either case.
  const std::string_view line = text.substr(0, text.find_first_of("\n#"));
  if (line.find_first_of(" \t\r") == line.npos && !line.empty()) {
    Require(types.contains(FoldedExtension(TextFromDisk(line))), "what is listed is found");
  }
  return 0;
}

#include "platform/linux/packages/package_types.h"

#include <sys/stat.h>

#include <cwctype>
#include <string>

#include "platform/linux/system/config_folders.h"
#include "platform/linux/system/disk_names.h"
#include "platform/linux/system/resource_files.h"
#include "platform/linux/system/safe_file.h"
#include "platform/linux/system/unicode_locale.h"

namespace {

constexpr std::string_view kFileName = "package-types";
constexpr std::size_t kLargestFile = std::size_t{1024} * 1024;

/// ASCII alone where the system knows no more.
char16_t LowerCase(char16_t unit) {
  if (unit < 0x80 || UnicodeLocale() == nullptr)
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + (u'a' - u'A')) : unit;
  return static_cast<char16_t>(towlower_l(unit, UnicodeLocale()));
}

void AddLine(std::string_view line, PackageTypes *types) {
  constexpr std::string_view kSpaces = " \t\r";
  line = line.substr(0, line.find('#'));
  const std::size_t first = line.find_first_not_of(kSpaces);
  if (first == line.npos) return;
  line = line.substr(first, line.find_last_not_of(kSpaces) - first + 1);
  types->insert(FoldedExtension(TextFromDisk(line)));
}

/// Adds what a file lists; one that cannot be read adds nothing.
void AddFile(const std::string &path, PackageTypes *types) {
  std::string text;
  struct stat status;
  if (ReadWholeFile(path, kLargestFile, &text, &status) != 0) return;
  AddPackageTypes(text, types);
}

PackageTypes LoadPackageTypes() {
  PackageTypes types;
  if (const auto path = FindResourceFile(kFileName)) AddFile(*path, &types);
  std::vector<std::string> folders = SystemConfigFolders();
  folders.push_back(UserConfigFolder());
  for (const std::string &folder : folders) {
    if (!folder.empty()) AddFile(folder + '/' + std::string(kFileName), &types);
  }
  return types;
}

}  // namespace

std::u16string FoldedExtension(std::u16string_view extension) {
  std::u16string folded(extension);
  for (char16_t &unit : folded) {
    unit = LowerCase(unit);
  }
  return folded;
}

void AddPackageTypes(std::string_view text, PackageTypes *types) {
  while (!text.empty()) {
    const std::size_t length = std::min(text.find('\n'), text.size());
    AddLine(text.substr(0, length), types);
    text.remove_prefix(std::min(length + 1, text.size()));
  }
}

bool IsPackageType(std::u16string_view extension) {
  static const PackageTypes types = LoadPackageTypes();
  return types.contains(FoldedExtension(extension));
}

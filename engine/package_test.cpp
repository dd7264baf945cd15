#include "engine/package_test.h"

#include <algorithm>
#include <string_view>

#include "platform/launch_services.h"
#include "platform/urls.h"

namespace {

constexpr std::u16string_view kPackageExtensions[] = {u"app", u"bundle", u"framework", u"plugin",
                                                      u"kext"};

bool HasFlags(const FSRef &item, std::uint32_t anyOf) {
  LSItemInfoRecord info;
  return LSCopyItemInfoForRef(item, kLSRequestBasicFlagsOnly, &info) == noErr &&
         (info.flags & anyOf) != 0;
}

constexpr char16_t LowerCase(char16_t unit) {
  return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + (u'a' - u'A')) : unit;
}

}  // namespace

bool IsApplication(const FSRef &item) {
  return HasFlags(item, kLSItemInfoIsApplication);
}

bool IsPackageOrApplication(const FSRef &item) {
  return HasFlags(item, kLSItemInfoIsPackage | kLSItemInfoIsApplication);
}

bool HasPackageExtension(const FSRef &item) {
  const std::optional<CFURL> url = CFURLCreateFromFSRef(item);
  if (!url) return false;
  const std::optional<std::u16string> extension = CFURLCopyPathExtension(*url);
  if (!extension) return false;
  return std::ranges::any_of(kPackageExtensions, [&extension](std::u16string_view known) {
    return std::ranges::equal(known, *extension, {}, {}, LowerCase);
  });
}

bool IsPackage(const FSRef &item) {
  // The name is asked first: it decides as well, and costs no look at the disk.
  return HasPackageExtension(item) || IsPackageOrApplication(item);
}

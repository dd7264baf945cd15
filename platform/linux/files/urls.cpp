#include "platform/urls.h"

#include "platform/linux/system/disk_names.h"
#include "platform/linux/tree/item_location.h"

std::optional<CFURL> CFURLCreateFromFSRef(const FSRef &item) {
  if (NameOnDisk(item).empty()) return std::nullopt;
  return CFURL{&item};
}

std::optional<std::u16string> CFURLCopyPathExtension(const CFURL &url) {
  const std::string_view name = NameOnDisk(*url.item);
  const std::size_t dot = name.rfind('.');
  if (dot == std::string_view::npos || dot + 1 == name.size()) return std::nullopt;
  return TextFromDisk(name.substr(dot + 1));
}

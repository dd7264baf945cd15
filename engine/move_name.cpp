#include "engine/move_name.h"

#include "fsutil/item_info.h"
#include "platform/urls.h"
#include "platform/utilities.h"

std::optional<std::u16string> MakeUniqueMoveName(const FSRef &destination, const FSRef &item) {
  HFSUniStr255 oldName;
  if (!CopyItemName(item, &oldName)) return std::nullopt;
  FSRef found;
  if (!FindItemInFolder(destination, oldName.View(), &found)) return std::nullopt;

  constexpr std::size_t kAddition = 3 + 36;  // a dash and an identifier
  std::u16string name;
  name.reserve(oldName.length + kAddition);
  name = oldName.View();
  const std::optional<CFURL> url = CFURLCreateFromFSRef(item);
  if (!url) return std::nullopt;
  std::u16string suffix;
  if (const std::optional<std::u16string> extension = CFURLCopyPathExtension(*url)) {
    suffix = u"." + *extension;
    if (const std::size_t place = name.rfind(suffix); place != std::u16string::npos) {
      name.erase(place, suffix.size());
    }
  }
  const std::optional<CFUUID> uuid = CFUUIDCreate();
  if (!uuid) return std::nullopt;
  if (!name.empty()) name += u" - ";
  name += CFUUIDCreateString(*uuid);
  name += suffix;
  return name;
}

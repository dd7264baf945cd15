#include "app/app_icon.h"

void RegisterAppIcon(std::string_view resourceName, OSType iconType, IconRef *outIcon) {
  FSRef iconFile{};
  if (const std::optional<std::string> url =
          CFBundleCopyResourceURL(CFBundleGetMainBundle(), resourceName, "icns")) {
    if (!CFURLGetFSRef(*url, &iconFile)) iconFile = {};
  }
  (void)RegisterIconRefFromFSRef(FourChars("Vnly"), iconType, iconFile, outIcon);
}

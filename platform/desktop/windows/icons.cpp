#include "platform/icons.h"

#include <QApplication>
#include <QFile>
#include <QIcon>
#include <climits>

OSStatus RegisterIconRefFromFSRef(OSType, OSType, const FSRef &iconFile, IconRef *) {
  std::string path(PATH_MAX, '\0');
  if (const OSStatus status =
          FSRefMakePath(iconFile, path.data(), static_cast<std::uint32_t>(path.size()));
      status != noErr)
    return status;
  const QIcon icon(QFile::decodeName(path.c_str()));
  if (icon.isNull()) return paramErr;
  // The one icon of the process; there is no reference to hand out.
  QApplication::setWindowIcon(icon);
  return noErr;
}

/// Launch Services: what an item is to the user.
#pragma once

#include <string>

#include "platform/file_manager.h"

using LSRequestedInfo = std::uint32_t;
inline constexpr LSRequestedInfo kLSRequestBasicFlagsOnly = 0x4;

inline constexpr std::uint32_t kLSItemInfoIsPlainFile = 0x1;
inline constexpr std::uint32_t kLSItemInfoIsPackage = 0x2;
inline constexpr std::uint32_t kLSItemInfoIsApplication = 0x4;
inline constexpr std::uint32_t kLSItemInfoIsContainer = 0x8;

struct LSItemInfoRecord {
  std::uint32_t flags;  ///< kLSItemInfo… bits
};

/// Says what the item is. A folder is an application when it holds `Contents/Info.plist` whose
/// package type is APPL, or an executable `AppRun`. It is a package when it holds
/// `Contents/Info.plist`, has the bundle bit in its Finder flags, or its name's extension is
/// registered as a document package. Everything else is a plain file or a plain folder. Fails like
/// FSGetCatalogInfo.
OSStatus LSCopyItemInfoForRef(const FSRef &item, LSRequestedInfo whichInfo, LSItemInfoRecord *info);

/// The name by which the user knows the item.
OSStatus LSCopyDisplayNameForRef(const FSRef &item, std::u16string *displayName);

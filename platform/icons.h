/// Icon Services, and the resources of the program that icons come from.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/file_manager.h"

using CFBundleRef = struct OpaqueBundle *;
using IconRef = struct OpaqueIcon *;

CFBundleRef CFBundleGetMainBundle();

/// The path of the resource NAME.EXTENSION; none when the program has no such resource. The
/// extension "icns" stands for the icon in whichever format the platform uses.
std::optional<std::string> CFBundleCopyResourceURL(CFBundleRef bundle, std::string_view name,
                                                   std::string_view extension);

/// Refers to the item at a path that CFBundleCopyResourceURL gave.
bool CFURLGetFSRef(const std::string &url, FSRef *ref);

/// Makes a file the icon of the application. Fails with paramErr for a reference of zero bytes.
OSStatus RegisterIconRefFromFSRef(OSType creator, OSType iconType, const FSRef &iconFile,
                                  IconRef *icon);

/// The application's icon.
#pragma once

#include <string_view>

#include "platform/icons.h"

/// Registers the resource RESOURCENAME.icns as the program's icon of that type. A missing resource
/// is no error: the registration is tried with an empty reference, and its failure is ignored.
void RegisterAppIcon(std::string_view resourceName, OSType iconType, IconRef *outIcon);

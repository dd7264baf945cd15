/// The terminal's event loop, which begins by opening the folders that the user named.
#pragma once

#include <vector>

#include "platform/file_manager.h"

/// Keeps the folders for RunApplicationEventLoop.
void OpenWhenLoopStarts(std::vector<FSRef> folders);

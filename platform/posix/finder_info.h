/// The 32 bytes of Finder information that travel with an item copied from a Mac.
#pragma once

#include <array>
#include <cstdint>

#include "platform/file_manager.h"

/// Finder info in the first half, extended Finder info in the second.
using FinderInfo = std::array<std::uint8_t, 32>;

/// Reads the information from the extended attributes in which copies arrive:
/// `user.com.apple.FinderInfo`, `osx.com.apple.FinderInfo`. All zero when there is none. The item
/// is not opened and no link is followed.
FinderInfo ReadFinderInfo(const FSRef &item);

/// The same for an item that is open for reading, at a fraction of the cost.
FinderInfo ReadFinderInfo(int descriptor);

/// What the C library knows of characters, whatever the user's own locale is.
#pragma once

#include <clocale>

/// A locale that knows all of Unicode; none on a system without one. Lives as long as the process.
locale_t UnicodeLocale();

/// Text as the controls take it.
#pragma once

#include <string_view>

#include "fsutil/short_strings.h"

/// Converts UTF-16 to Mac Roman, cut at 255 characters. Whatever the converter produces is used; no
/// error is reported.
void ConvertUnicodeToMacRoman(ShortString &outText, std::u16string_view text);

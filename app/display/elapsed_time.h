/// Durations in words.
#pragma once

#include "fsutil/short_strings.h"

/// Appends whole seconds as hours, minutes and seconds: "1 hr 2 mins 5 secs ". Units whose count is
/// zero are left out, and each unit has a space after it, the last one too. Zero seconds replace
/// the text by "0 secs".
void FormatElapsedTime(std::uint32_t seconds, ShortString &text);

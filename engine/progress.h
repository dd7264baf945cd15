/// The progress bar's scale.
#pragma once

#include <cstdint>

inline constexpr std::int16_t kProgressMaximum = 32767;

/// How far `done` of `count` items are on the scale, truncated; at its end when there are more than
/// were counted. `count` is above 0.
std::int16_t ProgressValue(std::int32_t done, std::int32_t count);

/// Shows the progress bar with its scale, and status line 2 for the counter.
void ShowProgress();

/// The run as the main window shows it: texts, bar, counter and the yields that keep it alive.
#pragma once

#include <cstdint>

/// From now on the main window shows every run. To be called before other observers are added, so
/// that it is up to date when they speak.
void ShowRunsInWindow();

inline constexpr std::int16_t kProgressMaximum = 32767;

/// How far `done` of `count` items are on the bar's scale, truncated; at its end when there are
/// more than were counted. `count` is above 0.
std::int16_t ProgressValue(std::int32_t done, std::int32_t count);

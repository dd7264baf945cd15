/// The progress bar's scale.
#pragma once

#include <cstdint>

inline constexpr std::int16_t kProgressMaximum = 32767;

/// `items` on the scale, before it is divided by their number. Wraps in 32 bits above 65,538 items,
/// where the bar shows nonsense; that is accepted.
std::int32_t ProgressAmount(std::int32_t items);

/// `amount / count`, truncated and cut to 16 bits. `count` is above 0.
std::int16_t ProgressValue(std::int32_t amount, std::int32_t count);

/// Shows the progress bar with its scale, and status line 2 for the counter.
void ShowProgress();

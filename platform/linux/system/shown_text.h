/// Names and other texts from outside made fit to be shown.
#pragma once

#include <string>
#include <string_view>

/// The text with `sign` in place of each character that what shows it would obey, one that breaks
/// the line, moves the cursor or turns the direction of writing around, and with `half` in place of
/// each half of a pair, as those that stand for bytes of a name.
std::u16string ShownText(std::u16string_view text, char16_t sign, char16_t half);

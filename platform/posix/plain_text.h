/// ASCII text, which most names are, converted eight characters at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

/// Copies characters below 0x80 to `out`, which has room for all of `text`, and returns how many
/// there were before the first other one.
template <typename From, typename To>
std::size_t CopyPlainText(std::basic_string_view<From> text, To *out) {
  using Unit = std::conditional_t<sizeof(From) == 1, std::uint8_t, std::uint16_t>;
  constexpr std::size_t kBlock = 8;
  std::size_t count = 0;
  for (; count + kBlock <= text.size(); count += kBlock) {
    std::array<Unit, kBlock> block;
    std::memcpy(block.data(), text.data() + count, sizeof block);
    Unit all = 0;
    for (const Unit unit : block) all |= unit;
    if (all >= 0x80) break;
    for (std::size_t i = 0; i < kBlock; ++i) out[count + i] = static_cast<To>(block[i]);
  }
  for (; count < text.size(); ++count) {
    if (static_cast<Unit>(text[count]) >= 0x80) break;
    out[count] = static_cast<To>(text[count]);
  }
  return count;
}

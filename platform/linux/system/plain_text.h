/// ASCII text, which most names are, converted eight characters at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

inline constexpr std::size_t kPlainBlock = 8;

/// Copies eight characters when all are below 0x80; false when they are not.
template <typename From, typename To>
bool CopyPlainBlock(const From *text, To *out) {
  using Unit = std::conditional_t<sizeof(From) == 1, std::uint8_t, std::uint16_t>;
  constexpr std::uint64_t kOthers = sizeof(From) == 1 ? 0x8080808080808080 : 0xFF80FF80FF80FF80;
  std::array<std::uint64_t, sizeof(Unit)> words;
  std::memcpy(words.data(), text, sizeof words);
  std::uint64_t all = 0;
  for (const std::uint64_t word : words) all |= word;
  if ((all & kOthers) != 0) return false;
  for (std::size_t i = 0; i < kPlainBlock; ++i) {
    out[i] = static_cast<To>(static_cast<Unit>(text[i]));
  }
  return true;
}

/// Copies characters below 0x80 to `out`, which has room for all of `text`, and returns how many
/// there were before the first other one.
template <typename From, typename To>
std::size_t CopyPlainText(std::basic_string_view<From> text, To *out) {
  using Unit = std::conditional_t<sizeof(From) == 1, std::uint8_t, std::uint16_t>;
  std::size_t count = 0;
  while (count + kPlainBlock <= text.size() && CopyPlainBlock(text.data() + count, out + count)) {
    count += kPlainBlock;
  }
  // What is left is less than a block, but the last eight characters are one.
  if (const std::size_t last = text.size() - kPlainBlock;
      text.size() >= kPlainBlock && last < count &&
      CopyPlainBlock(text.data() + last, out + last)) {
    return text.size();
  }
  for (; count < text.size(); ++count) {
    if (static_cast<Unit>(text[count]) >= 0x80) break;
    out[count] = static_cast<To>(text[count]);
  }
  return count;
}

/// Whether all characters are below 0x80.
inline bool IsPlainText(std::string_view text) {
  constexpr std::uint64_t kOthers = 0x8080808080808080;
  std::uint64_t word = 0;
  for (; text.size() > kPlainBlock; text.remove_prefix(kPlainBlock)) {
    std::memcpy(&word, text.data(), kPlainBlock);
    if ((word & kOthers) != 0) return false;
  }
  for (const char character : text) {
    if (static_cast<std::uint8_t>(character) >= 0x80) return false;
  }
  return true;
}

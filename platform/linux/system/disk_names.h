/// Names as they stand on disk (bytes) and in the program (UTF-16).
///
/// Valid UTF-8 converts as usual. Any other byte becomes a lone surrogate U+DC80 to U+DCFF and
/// comes back as that byte (the scheme of Python's PEP 383), so every name on disk makes the round
/// trip.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/file_manager.h"

/// The length of the valid UTF-8 sequence that starts at `start`, and its code point; 0 when there
/// is none. Overlong forms, surrogates and what lies beyond U+10FFFF are not valid (RFC 3629).
std::size_t Utf8SequenceLength(std::string_view bytes, std::size_t start, char32_t *codePoint);

inline constexpr std::size_t kLongestUtf8 = 4;

/// Writes the sequence of a code point to `out` and returns its length.
std::size_t WriteUtf8(char32_t codePoint, char *out);

/// Reads the character at `at`, which is below the text's length, and moves `at` behind it. Answers
/// nothing for a surrogate that is no half of a pair; `at` is then one further.
std::optional<char32_t> TakeCharacter(std::u16string_view text, std::size_t *at);

std::u16string TextFromDisk(std::string_view bytes);
/// The same into a fixed name; false, and nothing is set, for more than 255 units.
bool NameFromDisk(std::string_view bytes, HFSUniStr255 *name);

/// The bytes of `text`; false when it holds a surrogate that stands for no byte, or a zero.
bool TextToDisk(std::u16string_view text, std::string *bytes);

/// The same for a name: bdNamErr also when it is empty, ".", ".." or has a "/". How long a name may
/// be is up to the volume, which is asked when the name is used.
OSErr NameToDisk(std::u16string_view name, std::string *bytes);

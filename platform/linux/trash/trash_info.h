/// What is written beside an item in the trash (freedesktop.org Trash 1.0, "The .trashinfo file"),
/// and what the item is called there: as text in memory.
#pragma once

#include <optional>
#include <string>
#include <string_view>

inline constexpr std::string_view kTrashInfoSuffix = ".trashinfo";

/// The bytes of a path with all but letters, digits, "-", ".", "_", "~" and "/" as %XX (RFC 3986).
std::string PercentEncoded(std::string_view bytes);
/// Answers nothing for a "%" that two hexadecimal digits do not follow.
std::optional<std::string> PercentDecoded(std::string_view text);

/// The content of a .trashinfo file: where the item was, and that it was deleted just now.
std::string TrashInfoText(std::string_view path);
/// The path that such a file tells, as bytes; nothing when it tells none.
std::optional<std::string> PathInTrashInfo(std::string_view text);

/// The name by which an item is tried to be put into the trash the first time, the second, …:
/// "NAME", "NAME 2", … It is cut, at a whole character, where the name of its .trashinfo would
/// be longer than 255 bytes.
std::string NameInTrash(std::string_view name, int number);

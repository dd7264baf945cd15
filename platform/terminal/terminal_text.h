/// Text made fit for a terminal: UTF-8 in which nothing moves the cursor, changes colours or turns
/// the direction of writing.
#pragma once

#include <string>
#include <string_view>

/// Characters that a terminal would obey, and those that stand for bytes which are not UTF-8, come
/// out as "?".
std::string TerminalText(std::u16string_view text);

/// Whether bytes are all of them characters that can be shown as they are, as most names are.
bool IsPlainForTerminal(std::string_view bytes);

/// The same for bytes as they stand on disk or in an operand.
std::string TerminalTextFromDisk(std::string_view bytes);

/// The first characters of a text made fit for a terminal that take up `columns` columns at the most.
std::string_view CutToColumns(std::string_view terminalText, std::size_t columns);

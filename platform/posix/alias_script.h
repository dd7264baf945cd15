/// The one script that the scripting component understands.
///
///     tell application "Finder"
///     make new alias file at POSIX file "FOLDER" to POSIX file "FILE"
///     end tell
///
/// Each line ends with a carriage return, a line feed or both; blank lines and spaces count for
/// nothing, and keywords may be in either case. A string literal knows the escapes \" \\ \n \r \t;
/// a line break inside it is part of it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

struct AliasScript {
  std::u16string folder;  ///< the path of the folder that receives the alias
  std::u16string file;    ///< the path of the file that the alias leads to
};

/// The script that `source` holds; none when it does not parse.
std::optional<AliasScript> ParseAliasScript(std::u16string_view source);

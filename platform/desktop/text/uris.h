/// Addresses of items, as drags and the session bus bring them. They come from any program, so that
/// nothing is taken for granted of them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The path, bytes as on disk, that a "file:" address names on this machine; it begins with "/" and
/// holds no zero. None for any other address.
std::optional<std::string> LocalPathFromUri(std::string_view uri);

/// The "file:" address of an absolute path.
std::string UriFromPath(std::string_view path);

/// The addresses in a list of the type text/uri-list (RFC 2483): a line each, comments left out.
std::vector<std::string> LinesOfUriList(std::string_view list);

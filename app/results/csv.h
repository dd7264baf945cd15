/// Text as comma-separated values (RFC 4180).
#pragma once

#include <span>
#include <string>
#include <string_view>

/// Appends one record and its line end. Each field is UTF-8 in quotes, so that a line end or a
/// comma in a name is a part of it; bytes that are no text become U+FFFD.
void AppendCsvRecord(std::span<const std::string> fields, std::string *text);

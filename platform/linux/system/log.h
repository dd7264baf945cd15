/// The system log, for what the platform itself has to say.
#pragma once

#include <string_view>

/// Writes one line to the system log alone; control characters come out as "\xNN".
void WriteToSystemLog(std::string_view line);

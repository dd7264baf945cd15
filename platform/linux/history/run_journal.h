/// Where lines about journals go.
#pragma once

#include <string>

/// Tells the user, and the system log, a line about journals.
void TellOfJournals(const std::string &line);

/// Where lines about journals go.
#pragma once

#include <string>

/// Tells the user, and the system log, a line about journals.
void TellOfJournals(const std::string &line);

/// Tells, once, that runs go on without a journal.
void TellThatNoneIsKept(int error);

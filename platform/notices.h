/// What there is to tell the user besides the status of a run.
#pragma once

#include <string>

/// Tells a problem in a quiet line, never in the way of a run. Bytes, with names as they are on
/// disk; "PATH: reason" where it is an item's.
void TellProblem(const std::string &problem);

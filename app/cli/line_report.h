/// The report of a run for people, on standard error.
#pragma once

/// Prints a line for every exception as it happens, and one for every folder; or, unless
/// `isVerbose`, a single line in the end, if there is anything to tell then.
void StartLineReport(bool isVerbose);

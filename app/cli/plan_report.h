/// The report of a preview for people.
#pragma once

/// Prints, from now on, what would be done and what would be left to standard output, in this
/// order, unless `isListed` is false; and in the end a summary to standard error, unless `isQuiet`.
/// Of several folders each has its path above its list.
void StartPlanReport(bool isListed, bool isQuiet, bool hasSeveralFolders);

/// The report of a run for scripts: one JSON document on standard output. docs/reports.md describes
/// it.
#pragma once

#include <string>

/// Takes down, from now on, what the engine notes. The document is printed when all folders are
/// done. Only exceptions take memory, some hundred bytes each, never a file that is simply moved;
/// when there is no more of it, the document ends there and says so.
void StartJsonReport(const std::string &program);

/// Adds a folder that could not be used, as the user has named it. Both are bytes.
void AddUnusableToJsonReport(const std::string &folder, const std::string &reason);

/// Prints the document, unless it has been printed or none was started. What it lists is put into
/// words one by one. A failure is reported as output that could not be written.
void PrintJsonReport();

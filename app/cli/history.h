/// What the terminal program does with the history of runs.
#pragma once

#include <string>
#include <vector>

#include "platform/history.h"

/// Prints the runs that are kept, of the folders named or of all, the newest first. A folder that
/// can't be used is reported.
void ListHistory(const std::vector<std::string> &operands, bool isJson, const char *program);

/// Has the engine take back the newest run of each folder named, or of all, when the event loop
/// runs. What can't be done is reported, here and in the document. Answers whether there is any.
bool OrderTakingBack(TakeBack how, const std::vector<std::string> &operands);

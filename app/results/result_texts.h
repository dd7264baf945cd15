/// What a row of the results says, column by column, as bytes with names as they are on disk.
#pragma once

#include <string>

#include "app/results/result_rows.h"
#include "platform/results_window.h"

void AppendResultText(const CResultRows &rows, const ResultRow &row, ResultColumn column,
                      std::string *text);

/// The rows that a run's notes make.
#pragma once

#include "app/results/result_rows.h"

/// Adds the row of a note, in the dropped folder that is in hand. Throws when there is no memory.
void AddRowOfNote(const RunNote &note, ResultFolder dropped, CResultRows *rows);

/// The results as the document for scripts.
#pragma once

#include "app/json_writer.h"
#include "app/results/result_rows.h"
#include "app/results/result_source.h"

/// Writes all rows that the source has given, piece by piece; false, and no more, when `output`
/// answers so. `isComplete` is false when there was no memory for all of them.
bool WriteResultDocument(const CResultSource &source, const CResultRows &rows, bool isComplete,
                         const CJsonWriter::Output &output);

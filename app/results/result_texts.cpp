#include "app/results/result_texts.h"

#include "app/report_words.h"

namespace {

/// Where it has come to, or why it has not.
void AppendWhere(const CResultRows &rows, const ResultRow &row, std::string *text) {
  const bool isReason = row.error != noErr;
  if (isReason) *text += WordsOf(row.error).reason;
  if (row.event == RunEvent::kLost) *text += "it was deleted for good";
  if (row.to.IsSet()) {
    if (row.event == RunEvent::kNotPutBack) *text += "; it belongs at ";
    if (row.event == RunEvent::kLeftInPlace) *text += "; it is now ";
    if (row.event != RunEvent::kLost) rows.AppendShortPath(row.to, text);
  } else if (row.event == RunEvent::kCollated) {
    text->append("items moved into it: ").append(std::to_string(row.count));
  }
}

}  // namespace

void AppendResultText(const CResultRows &rows, const ResultRow &row, ResultColumn column,
                      std::string *text) {
  switch (column) {
    case ResultColumn::kItem:
      return rows.AppendShortPath(row.item, text);
    case ResultColumn::kHappened:
      *text += HappenedInWords(row.event, rows.AreOfPlan());
      return;
    case ResultColumn::kWhere:
      return AppendWhere(rows, row, text);
  }
}

#include "engine/run_events.h"

Shortfalls ShortfallsOf(const RunCounts &counts) {
  const auto countOf = [&](RunEvent event) { return counts[static_cast<std::size_t>(event)]; };
  return {.leftInPlace = countOf(RunEvent::kLeftInPlace),
          .notReached = countOf(RunEvent::kFound) - countOf(RunEvent::kHandled),
          .notRead = countOf(RunEvent::kFolderNotRead),
          .deleted = countOf(RunEvent::kFileDeleted),
          .notDeleted = countOf(RunEvent::kNotDeleted),
          .notCollated = countOf(RunEvent::kNotCollated),
          .notPutBack = countOf(RunEvent::kNotPutBack),
          .lost = countOf(RunEvent::kLost)};
}

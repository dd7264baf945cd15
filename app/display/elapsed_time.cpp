#include "app/display/elapsed_time.h"

namespace {

void AppendUnit(ShortString &text, std::uint32_t count, const char *one, const char *several) {
  if (count == 0) return;
  AppendDecimalNumber(text, static_cast<std::int32_t>(count));
  AppendBoundedCString(text, count == 1 ? one : several);
}

}  // namespace

void FormatElapsedTime(std::uint32_t seconds, ShortString &text) {
  if (seconds == 0) {
    CopyBoundedCString(text, "0 secs");
    return;
  }
  AppendUnit(text, seconds / 3600, " hr ", " hrs ");
  AppendUnit(text, seconds % 3600 / 60, " min ", " mins ");
  AppendUnit(text, seconds % 60, " sec ", " secs ");
}

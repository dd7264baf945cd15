#include "engine/progress.h"

#include <algorithm>

#include "app/main_window.h"

std::int16_t ProgressValue(std::int32_t done, std::int32_t count) {
  // In 64 bits, or the bar would lie from 65,539 items on.
  const std::int64_t value = std::int64_t{done} * kProgressMaximum / count;
  return static_cast<std::int16_t>(std::min<std::int64_t>(value, kProgressMaximum));
}

void ShowProgress() {
  SetControlMaximum(MainWindow.progressBar, kProgressMaximum);
  SetControlMinimum(MainWindow.progressBar, 0);
  ShowControl(MainWindow.progressBar);
  ShowControl(MainWindow.statusLine2);
}

#include "engine/progress.h"

#include "app/main_window.h"

std::int32_t ProgressAmount(std::int32_t items) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(items) * kProgressMaximum);
}

std::int16_t ProgressValue(std::int32_t amount, std::int32_t count) {
  return static_cast<std::int16_t>(amount / count);
}

void ShowProgress() {
  SetControlMaximum(MainWindow.progressBar, kProgressMaximum);
  SetControlMinimum(MainWindow.progressBar, 0);
  ShowControl(MainWindow.progressBar);
  ShowControl(MainWindow.statusLine2);
}

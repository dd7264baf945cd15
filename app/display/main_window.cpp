#include "app/display/main_window.h"

MainWindowState MainWindow;

void FetchMainWindowControls() {
  constexpr struct {
    std::int32_t id;
    ControlRef MainWindowState::*control;
  } kControls[] = {
      {1, &MainWindowState::statusLine1},    {2, &MainWindowState::busyIndicator},
      {4, &MainWindowState::idleElement},    {5, &MainWindowState::progressBar},
      {6, &MainWindowState::statusLine2},    {7, &MainWindowState::stopButton},
      {8, &MainWindowState::summaryLine},    {9, &MainWindowState::resultsButton},
      {10, &MainWindowState::undoButton},    {11, &MainWindowState::whichFolder},
      {12, &MainWindowState::stopAllButton}, {15, &MainWindowState::dropWarning},
  };
  for (const auto &[id, control] : kControls) {
    (void)GetControlByID(MainWindow.window, {kControlSignature, id}, &(MainWindow.*control));
  }
}

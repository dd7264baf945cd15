/// The main window and its controls, of which there is one set for the process.
#pragma once

#include "platform/controls.h"
#include "platform/windows.h"

/// Every control ID of the program has this signature.
inline constexpr OSType kControlSignature = FourChars("CNTL");

/// What is not found in the interface file stays empty, and calls on it do nothing.
struct MainWindowState {
  WindowRef window = nullptr;
  ControlRef statusLine1 = nullptr;    ///< 1: the phase and the file being worked on
  ControlRef busyIndicator = nullptr;  ///< 2: shown while a folder is being flattened
  ControlRef idleElement = nullptr;    ///< 4: shown while none is
  ControlRef progressBar = nullptr;    ///< 5
  ControlRef statusLine2 = nullptr;    ///< 6: the counter, then the elapsed time
  ControlRef stopButton = nullptr;     ///< 7: shown and enabled while a folder is being flattened
  // The terminal has none of these.
  ControlRef summaryLine = nullptr;    ///< 8: what came of the latest run, while none is on
  ControlRef resultsButton = nullptr;  ///< 9: shown beside it
  ControlRef undoButton = nullptr;     ///< 10: shown beside it when the run can be taken back
  ControlRef whichFolder = nullptr;    ///< 11: of how many, while a run of several is on
  ControlRef stopAllButton = nullptr;  ///< 12: shown with it
  ControlRef dropWarning = nullptr;    ///< 15: in the place of the first, during a drag
};
extern MainWindowState MainWindow;

/// Finds the controls in the window.
void FetchMainWindowControls();

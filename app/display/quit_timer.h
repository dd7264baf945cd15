/// The end of the program after a run.
#pragma once

#include "platform/events.h"

/// Says goodbye, fades the main window out and ends the process.
void QuitTimerProc(EventLoopTimerRef timer, void *userData);

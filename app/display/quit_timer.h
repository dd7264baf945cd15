/// The end of the program after a run.
#pragma once

#include "platform/events.h"

/// While something is asked that the user has not answered, the timer does nothing.
void HoldQuitBack(bool isHeldBack);

/// Says goodbye, fades the main window out and ends the process.
void QuitTimerProc(EventLoopTimerRef timer, void *userData);

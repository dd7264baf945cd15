/// The application's commands.
#pragma once

#include "platform/events.h"

/// Handles "pref" (opens the preferences), "rslt", "hist" (show the results and the history), "undo"
/// and "redo", "not!" (asks the run to stop) and "stpA" (all that waits, too). "quit" is noted for
/// the run and passed on, so that the standard handling still ends the program.
OSStatus HandleCommand(EventHandlerCallRef callRef, EventRef event, void *userData);

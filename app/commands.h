/// The application's commands.
#pragma once

#include "platform/events.h"

/// Handles "pref" (opens the preferences) and "not!" (asks the run to stop). "quit" is noted for
/// the run and passed on, so that the standard handling still ends the program.
OSStatus HandleCommand(EventHandlerCallRef callRef, EventRef event, void *userData);

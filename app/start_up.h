/// The program, from its start to its end.
#pragma once

#include "platform/types.h"

/// Builds the window and the menu bar, installs all handlers and runs the event loop until the user
/// quits. Returns the first failing status of the interface file, before any event is handled; else
/// the status of looking for the Help menu. Folders to flatten arrive as open-documents events.
OSStatus RunVannerly();

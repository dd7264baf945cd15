/// What every platform does alike with handlers, commands and open-documents events.
#pragma once

#include <vector>

#include "platform/apple_events.h"
#include "platform/events.h"
#include "platform/file_manager.h"

/// Makes a target for a window or a menu, without handlers. Lives until DisposeEventTarget.
EventTargetRef NewEventTarget();
void DisposeEventTarget(EventTargetRef target);

/// Tells the handlers of a window's target, and then the application's, that it has been activated.
void SendWindowActivated(EventTargetRef target);

/// Sends an event of the core class for these items to the own process; the answer is the
/// handler's.
OSErr SendDocuments(AEEventID eventID, const std::vector<FSRef> &items);

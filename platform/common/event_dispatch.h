/// What every platform does alike with handlers, commands and open-documents events.
#pragma once

#include <vector>

#include "platform/events.h"
#include "platform/file_manager.h"

/// Makes a target for a window or a menu, without handlers. Lives until DisposeEventTarget.
EventTargetRef NewEventTarget();
void DisposeEventTarget(EventTargetRef target);

/// Tells the handlers of a window's target, and then the application's, that it has been activated.
void SendWindowActivated(EventTargetRef target);

/// Sends the open-documents event for these items to the own process; the answer is the handler's.
OSErr SendOpenDocuments(const std::vector<FSRef> &items);

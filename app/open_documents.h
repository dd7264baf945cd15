/// The way in: folders that were dropped, or opened in any other way.
#pragma once

#include "platform/apple_events.h"

/// Handles the open-documents event: brings the program to the front, keeps the event's items as
/// DroppedItemList and arms the flatten run. An event without items fails and changes nothing. A
/// drop while a run is busy replaces the list and gets a run of its own afterwards.
OSErr HandleOpenDocuments(const AppleEvent &event, AppleEvent *reply, std::intptr_t refCon);

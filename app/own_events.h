/// Events that the program sends to itself, so that what they ask for waits until its turn comes.
#pragma once

#include "platform/apple_events.h"

/// Sends an event of the core class about items, as AESend sends it.
OSErr SendItemsToSelf(AEEventID eventID, const AEDescList &items);

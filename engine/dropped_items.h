/// What the user has dropped last.
#pragma once

#include "platform/apple_events.h"

/// The items of the last open-documents event. A new event replaces it, also while a run reads it.
extern AEDescList DroppedItemList;

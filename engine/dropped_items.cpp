#include "engine/dropped_items.h"

AEDescList DroppedItemList;

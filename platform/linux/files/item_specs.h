/// Items as they travel in events and drags, by FSSpec.
#pragma once

#include "platform/linux/tree/item_reference.h"

FSSpec SpecOfItem(const ItemReference &item);

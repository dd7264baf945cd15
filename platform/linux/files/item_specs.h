/// Items as the specifications that travel in events and drags.
#pragma once

#include "platform/linux/tree/item_reference.h"

FSSpec SpecOfItem(const ItemReference &item);

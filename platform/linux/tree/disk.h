/// The lowest layer: the disk itself.
#pragma once

#include "platform/linux/tree/tree_layer.h"

CTreeLayer &Disk();

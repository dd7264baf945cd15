/// A layer above the disk in which a test can have changes fail, or act just before they are made.
#pragma once

#include "platform/linux/tree/tree_layer.h"

/// Asked before every change; a value other than 0 is the `errno` with which it fails instead.
using TreeChangeFault = int (*)(const TreeChange &change);
/// Null: the layer is taken out.
void SetTreeChangeFault(TreeChangeFault fault);

#include "platform/linux/tree/folder_descriptors.h"

#include "platform/linux/tree/tree_memory.h"

void CloseFolderDescriptors() {
  Memory().Rest();
}

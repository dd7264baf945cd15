#include "platform/linux/tree/folder_descriptors.h"

#include "platform/linux/tree/folder_listing.h"
#include "platform/linux/tree/folder_table.h"
#include "platform/linux/tree/tree_layer.h"

void CloseFolderDescriptors() {
  ForgetListings();
  CloseAllFolders();
  Tree().Rest();
}

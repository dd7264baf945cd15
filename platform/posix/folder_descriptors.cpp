#include "platform/posix/folder_descriptors.h"

#include "platform/posix/folder_listing.h"
#include "platform/posix/folder_table.h"

void CloseFolderDescriptors() {
  ForgetListings();
  CloseAllFolders();
}

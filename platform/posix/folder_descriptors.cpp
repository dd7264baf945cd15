#include "platform/posix/folder_descriptors.h"

#include "platform/posix/folder_listing.h"
#include "platform/posix/folder_table.h"
#include "platform/posix/working_folder.h"

void CloseFolderDescriptors() {
  ForgetListings();
  CloseAllFolders();
  LeaveWorkingFolder();
}

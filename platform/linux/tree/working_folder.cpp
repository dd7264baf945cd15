#include "platform/linux/tree/working_folder.h"

#include <fcntl.h>
#include <unistd.h>

#include "platform/linux/system/descriptor.h"

namespace {

FolderIndex workingFolder = 0;  ///< 0: the one that was current at first
CDescriptor firstFolder(-1);

}  // namespace

bool WorkInFolder(FolderIndex folder, int descriptor) {
  if (folder == workingFolder) return true;
  if (!firstFolder.IsOpen()) {
    firstFolder = CDescriptor(open(".", O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!firstFolder.IsOpen()) return false;
  }
  if (fchdir(descriptor) != 0) return false;
  workingFolder = folder;
  return true;
}

void LeaveWorkingFolder() {
  if (workingFolder == 0) return;
  // Where even that is impossible, the root keeps no volume busy that anybody wants to unmount.
  if (fchdir(firstFolder.Get()) != 0) (void)!chdir("/");
  firstFolder = CDescriptor(-1);
  workingFolder = 0;
}

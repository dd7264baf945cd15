#include "platform/posix/run_memory.h"

#include "platform/posix/alias_files.h"
#include "platform/posix/folder_table.h"
#include "platform/posix/known_items.h"
#include "platform/posix/volume_traits.h"

void ForgetEarlierRun() {
  ForgetSeenItems();
  ForgetScan();
  ForgetAliasNumbers();
  ForgetVolumeTraits();
}

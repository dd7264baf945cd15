#include "platform/linux/tree/run_memory.h"

#include "platform/linux/files/alias_files.h"
#include "platform/linux/tree/folder_table.h"
#include "platform/linux/tree/known_items.h"
#include "platform/linux/tree/volume_traits.h"

void ForgetEarlierRun() {
  ForgetSeenItems();
  ForgetScan();
  ForgetAliasNumbers();
  ForgetVolumeTraits();
}

/// The process-wide table of the folders that references lie in, and the few descriptors open on
/// them.
///
/// A folder is known by the folder it lies in, its name there, and the device and inode it had when
/// it was entered. It is reached by `openat` from its parent and checked against that identity, so
/// a folder that has been swapped for another or for a symbolic link is refused, and no path has to
/// be built: any depth works, with a handful of descriptors.
#pragma once

#include <sys/types.h>

#include <string_view>

#include "platform/posix/item_reference.h"

inline constexpr FolderIndex kRootFolder = 1;

struct FolderEntry {
  FolderIndex parent;
  const char *name;  ///< kept for the life of the process
  std::uint8_t nameLength;
  std::int16_t slot = -1;  ///< where its descriptor is kept; -1 while it is not open
  dev_t device;
  ino_t inode;
  /// When it had last been modified as it was listed, in nanoseconds; 0: unknown.
  std::int64_t listedState = 0;
  /// The listing count at which its listing was found to hold.
  std::uint64_t trustedListing = 0;
};

/// The entry of a folder that is in the table; the reference holds until a folder is added.
const FolderEntry &EntryOf(FolderIndex folder);

/// Opens a folder of the table, or finds it open, and sets a borrowed descriptor, good for `*at`
/// calls: it may be opened with O_PATH. `keepOpen` is another folder whose descriptor must stay
/// open meanwhile, 0 for none. fnfErr when another item stands in its place.
OSErr OpenTableFolder(FolderIndex folder, int *descriptor, FolderIndex keepOpen = 0);

/// Enters the folder called `name` in `parent`: opens it with the `openat` flags given besides
/// those that make it safe, and puts it into the table with the identity it has. When `expected` is
/// given and it identifies the item, the identity has to be that one (else fnfErr). The table then
/// owns the descriptor.
OSErr EnterFolder(FolderIndex parent, const char *name, int openFlags,
                  const ItemReference *expected, FolderIndex *folder, int *descriptor);

/// The same for the root folder, for listing it.
OSErr EnterRootForListing(FolderIndex *folder, int *descriptor);

/// Notes the state of a folder that is about to be listed.
void NoteListing(FolderIndex folder, int descriptor);

/// Whether the names listed of a folder were still all there when the work in hand came to it
/// first. Costs one look at the folder and none at its items. Not known, and therefore false, of a
/// folder that was modified just before it was listed, as another change within the same tick of
/// the clock would not show.
bool HasListingHeld(FolderIndex folder);

/// The folder's own reference.
FSRef RefOfFolder(FolderIndex folder);

/// Closes the folder's descriptor, if it is open.
void CloseFolder(FolderIndex folder);

/// The table's folder with that identity; 0 when it was never entered.
FolderIndex FindFolder(dev_t device, ino_t inode);

/// A small number for a device, the same for the life of the process.
std::int16_t VolumeOfDevice(std::uint64_t device);

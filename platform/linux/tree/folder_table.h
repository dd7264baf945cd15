/// The process-wide table of the folders that references lie in, and the few descriptors open on
/// them. Folders that paths lead through stay in it; those that a run works in until it is over.
///
/// A folder is known by the folder it lies in, its name there, and the device and inode it had when
/// it was entered. It is reached by `openat` from its parent and checked against that identity, so
/// a folder that has been swapped for another or for a symbolic link is refused, and no path has to
/// be built: any depth works, with a handful of descriptors.
#pragma once

#include <sys/types.h>

#include <string_view>

#include "platform/linux/tree/folder_state.h"
#include "platform/linux/tree/item_reference.h"

struct FolderEntry {
  FolderIndex parent;
  std::uint16_t nameLength;
  std::int16_t slot = -1;  ///< where its descriptor is kept; -1 while it is not open
  const char *name;        ///< kept as long as the entry
  dev_t device;
  ino_t inode;
  std::uint32_t scan = 0;       ///< the run whose scan has read it last; 0: none
  std::uint32_t enteredIn = 0;  ///< the run that has entered it last; 0: none
  FolderState before = {};      ///< as that run has found it
  /// When it had last changed as it was listed, in nanoseconds; 0: unknown.
  std::int64_t listedState = 0;
  /// The step of the work in which its listing was found to hold.
  std::uint64_t trustedInStep = 0;
};

/// The entry of a folder; the reference holds until a folder is added. For one that is not in the
/// table, any more, it is the entry of no folder: its parent is 0.
const FolderEntry &EntryOf(FolderIndex folder);

bool IsKnownFolder(FolderIndex folder);

/// The state in which the run in hand has found a folder when it entered it first, before it
/// changed anything there; all zero for one that it has not entered.
FolderState StateBeforeRun(FolderIndex folder);

/// Takes out of the table what a run has brought in, with the names. No place of it is given to
/// another folder later.
void ForgetFoldersOfRun();

/// Opens a folder of the table, or finds it open, and sets a borrowed descriptor, good for `*at`
/// calls: it may be opened with O_PATH. `keepOpen` is another folder whose descriptor must stay
/// open meanwhile, 0 for none. fnfErr when another item stands in its place, paramErr for a folder
/// that is not in the table.
OSErr OpenTableFolder(FolderIndex folder, int *descriptor, FolderIndex keepOpen = 0);

/// Enters the folder called `name` in `parent`: opens it, as a place only (O_PATH), and puts it
/// into the table with the identity it has. The table then owns the descriptor.
/// It is there to stay.
OSErr EnterFolder(FolderIndex parent, const char *name, FolderIndex *folder, int *descriptor);

/// The same for the run in hand, and for a folder that has been seen: where the reference
/// identifies it, it has to be the same (else fnfErr).
OSErr EnterFolder(const ItemReference &folder, FolderIndex *index, int *descriptor);

/// The same, opened for reading, and with its state noted for HasListingHeld.
OSErr EnterFolderForListing(const ItemReference &folder, FolderIndex *index, int *descriptor);

/// Whether the names listed of a folder were still all there when this step of the work, which may
/// have changed it since, came to it first. Costs one look at the folder and none at its items. Not
/// known, and therefore false, of a folder that was changed just before it was listed, as another
/// change within the same tick of the clock would not show, and of every volume that does not keep
/// times finely, or whose folders others change unseen.
bool HasListingHeld(FolderIndex folder, std::uint64_t step);

/// The place in the table of the folder that a reference leads to, opened. dirNFErr when it is
/// none.
OSErr FindTableFolder(const FSRef &folder, FolderIndex *index, int *descriptor);

/// The folder's own reference.
FSRef RefOfFolder(FolderIndex folder);

/// The table's folder that was entered last as `name` in `parent`; 0 when none was.
FolderIndex FindFolder(FolderIndex parent, std::string_view name);

// What a scan has read is what may be deleted afterwards. Whatever it could not read, or what is
// not the folder any more that it has read, is left alone: nobody knows what lies in it.

/// Begins another run: what the scan before has read is of no account.
void ForgetScan();

/// Notes that the scan in hand has read the folder.
void NoteFolderRead(FolderIndex folder);

/// Notes that what stands as `name` in `parent` could not be read, and why.
void NoteFolderUnread(FolderIndex parent, std::string_view name, OSErr error);

/// Whether a folder that has just been entered may be emptied: noErr, the error with which the scan
/// has failed there, or errFSRefsDifferent when the scan has read another folder in its place.
OSErr CheckReadByScan(FolderIndex folder);

/// Closes the folder's descriptor, if it is open.
void CloseFolder(FolderIndex folder);
void CloseAllFolders();

/// A small number for a device, the same for the life of the process.
std::int16_t VolumeOfDevice(std::uint64_t device);

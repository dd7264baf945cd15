#include "platform/posix/folder_table.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <functional>
#include <optional>
#include <unordered_map>
#include <vector>

#include "platform/posix/errors.h"
#include "platform/posix/item_location.h"
#include "platform/posix/volume_traits.h"

namespace {

constexpr int kSafeFlags = O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

struct Identity {
  dev_t device;
  ino_t inode;
};

/// Where a folder was found. Not the identity is what a folder is looked up by: on some volumes
/// several have the same.
struct Place {
  FolderIndex parent;
  std::string_view name;
  bool operator==(const Place &) const = default;
};

struct PlaceHash {
  std::size_t operator()(const Place &place) const {
    return std::hash<std::string_view>{}(place.name) ^ place.parent * 0x9E3779B97F4A7C15u;
  }
};

/// One open descriptor.
struct Slot {
  FolderIndex folder = 0;
  int descriptor = -1;
  std::uint64_t lastUse = 0;
};

constexpr std::size_t kFewestSlots = 4;
/// With those of a window fewer than 64: a process with threads stands still for milliseconds while
/// the kernel makes its table of descriptors longer (Linux, fs/file.c, expand_fdtable).
constexpr std::size_t kMostSlots = 32;

/// A quarter of what the process may open: the rest of the program needs descriptors too.
std::size_t SlotsWithinLimit() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return kFewestSlots;
  return std::clamp<std::size_t>(limit.rlim_cur / 4, kFewestSlots, kMostSlots);
}

struct FolderTable {
  std::vector<FolderEntry> entries;
  std::unordered_map<Place, FolderIndex, PlaceHash> byPlace;
  std::unordered_map<Place, OSErr, PlaceHash> unread;
  std::vector<Slot> slots = std::vector<Slot>(SlotsWithinLimit());
  std::uint64_t useCount = 0;
  std::uint32_t scan = 1;

  FolderTable() {
    entries.reserve(256);
    entries.push_back({0, 0, -1, "", 0, 0});
    struct stat root {};
    (void)stat("/", &root);
    entries.push_back({kRootFolder, 1, -1, "/", root.st_dev, root.st_ino});
    byPlace[{kRootFolder, "/"}] = kRootFolder;
  }

  int Use(FolderIndex folder) {
    Slot &slot = slots[static_cast<std::size_t>(entries[folder].slot)];
    slot.lastUse = ++useCount;
    return slot.descriptor;
  }

  void Close(Slot &slot) {
    if (slot.folder == 0) return;
    close(slot.descriptor);
    entries[slot.folder].slot = -1;
    slot = Slot();
  }

  /// A slot without a descriptor: where none is free, the one used longest ago gives its own up,
  /// but never `keepOpen`'s.
  Slot &FreeSlot(FolderIndex keepOpen) {
    Slot &slot = *std::ranges::min_element(slots, {}, [keepOpen](const Slot &candidate) {
      if (candidate.folder == 0) return std::uint64_t{0};
      return candidate.folder == keepOpen ? UINT64_MAX : candidate.lastUse;
    });
    Close(slot);
    return slot;
  }

  int Keep(FolderIndex folder, int descriptor, FolderIndex keepOpen) {
    Slot &slot = FreeSlot(keepOpen);
    slot.folder = folder;
    slot.descriptor = descriptor;
    entries[folder].slot = static_cast<std::int16_t>(&slot - slots.data());
    return Use(folder);
  }

  /// Gives up all descriptors but those of two folders; false when there was none to give up.
  bool CloseAllBut(FolderIndex first, FolderIndex second) {
    bool any = false;
    for (Slot &slot : slots) {
      if (slot.folder == 0 || slot.folder == first || slot.folder == second) continue;
      Close(slot);
      any = true;
    }
    return any;
  }
};

constinit std::optional<FolderTable> folderTable;

[[gnu::noinline]] void MakeTable() {
  folderTable.emplace();
}

/// Asked some twenty times a file, so it has to be inlined.
FolderTable &Table() {
  if (!folderTable) [[unlikely]]
    MakeTable();
  return *folderTable;
}

/// `openat` that gives up other descriptors when the process has too many. `from` is the folder
/// behind `descriptor`.
int OpenAt(int descriptor, const char *name, int flags, FolderIndex from, FolderIndex keepOpen) {
  for (;;) {
    const int opened = openat(descriptor, name, flags | kSafeFlags);
    if (opened >= 0) return opened;
    if (errno == EINTR) continue;
    if (errno != EMFILE || !Table().CloseAllBut(from, keepOpen)) return -1;
  }
}

/// Whether `descriptor` is the folder of the table.
bool IsFolder(int descriptor, const FolderEntry &entry) {
  struct stat found;
  return fstat(descriptor, &found) == 0 && found.st_dev == entry.device &&
         found.st_ino == entry.inode;
}

std::string_view NameOf(const FolderEntry &entry) {
  return {entry.name, entry.nameLength};
}

/// Opens a folder whose parent is open.
OSErr OpenFromParent(FolderIndex folder, int parent, int *descriptor, FolderIndex keepOpen) {
  FolderTable &table = Table();
  const FolderEntry entry = table.entries[folder];
  const int opened = OpenAt(parent, entry.name, O_PATH, entry.parent, keepOpen);
  if (opened < 0) return ErrorFromErrno(errno);
  if (!IsFolder(opened, entry)) {
    close(opened);
    // Even if it should be what it was the next time: what was to be moved out of it has stayed.
    NoteFolderUnread(entry.parent, NameOf(entry), errFSRefsDifferent);
    return fnfErr;
  }
  *descriptor = table.Keep(folder, opened, keepOpen);
  return noErr;
}

/// On the way up from a deep folder its parent is one step away from a folder that is still open,
/// where the way down from the root would be as long as the folder is deep.
bool OpenFromOpenChild(FolderIndex folder, int *descriptor, FolderIndex keepOpen) {
  FolderTable &table = Table();
  for (const Slot &slot : table.slots) {
    if (slot.folder == 0 || table.entries[slot.folder].parent != folder) continue;
    const int opened = OpenAt(slot.descriptor, "..", O_PATH, slot.folder, keepOpen);
    if (opened < 0) return false;
    if (IsFolder(opened, table.entries[folder])) {
      *descriptor = table.Keep(folder, opened, keepOpen);
      return true;
    }
    close(opened);
  }
  return false;
}

std::int64_t Nanoseconds(const timespec &time) {
  return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

/// When a folder last changed; 0 when the next change might not show in that, for the volume's
/// times are coarse or the last change is recent.
std::int64_t SettledState(const struct stat &status, int descriptor) {
  constexpr std::int64_t kSeveralTicks = 50'000'000;
  constexpr long kMillisecond = 1'000'000;
  // A volume that keeps whole seconds, as ext4 with small inodes, says so by its zeros.
  if (status.st_ctim.tv_nsec % kMillisecond == 0) return 0;
  if (!TraitsOfVolume(status.st_dev, descriptor).isPrompt) return 0;
  timespec now{};
  (void)clock_gettime(CLOCK_REALTIME_COARSE, &now);
  // Unlike the time of modification this one cannot be set back.
  const std::int64_t changed = Nanoseconds(status.st_ctim);
  return Nanoseconds(now) - changed > kSeveralTicks ? changed : 0;
}

OSErr OpenRoot(int flags, int *descriptor, FolderIndex keepOpen) {
  const int opened = OpenAt(AT_FDCWD, "/", flags, 0, keepOpen);
  if (opened < 0) return ErrorFromErrno(errno);
  *descriptor = Table().Keep(kRootFolder, opened, keepOpen);
  return noErr;
}

/// The table's place for a folder that was found as `name` in `parent`.
FolderIndex PlaceFor(FolderIndex parent, std::string_view name, const Identity &identity) {
  FolderTable &table = Table();
  const FolderIndex known = FindFolder(parent, name);
  if (known != 0) {
    const FolderEntry &entry = table.entries[known];
    if (entry.device == identity.device && entry.inode == identity.inode) return known;
    if (entry.scan == table.scan) NoteFolderUnread(parent, name, errFSRefsDifferent);
  }
  const auto added = static_cast<FolderIndex>(table.entries.size());
  const char *const kept = KeepName(name);
  table.entries.push_back(
      {parent, static_cast<std::uint16_t>(name.size()), -1, kept, identity.device, identity.inode});
  table.byPlace.insert_or_assign({parent, {kept, name.size()}}, added);
  return added;
}

/// Opens a folder with the flags given besides those that make it safe, and enters it.
OSErr OpenAndEnter(FolderIndex parent, const char *name, int flags, const ItemReference *expected,
                   FolderIndex *folder, int *descriptor, struct stat *found) {
  int parentDescriptor = -1;
  if (OSErr error = OpenTableFolder(parent, &parentDescriptor); error != noErr) return error;
  const int opened = OpenAt(parentDescriptor, name, flags, parent, 0);
  if (opened < 0) return ErrorFromErrno(errno);
  OSErr error = noErr;
  if (fstat(opened, found) != 0) {
    error = ErrorFromErrno(errno);
  } else if (expected != nullptr && expected->isIdentified &&
             (expected->device != found->st_dev || expected->inode != found->st_ino)) {
    NoteFolderUnread(parent, name, errFSRefsDifferent);
    error = fnfErr;
  }
  if (error != noErr) {
    close(opened);
    return error;
  }
  *folder = PlaceFor(parent, name, {found->st_dev, found->st_ino});
  // What was open before may be unfit for listing, so the newer descriptor stays.
  CloseFolder(*folder);
  *descriptor = Table().Keep(*folder, opened, parent);
  return noErr;
}

}  // namespace

const FolderEntry &EntryOf(FolderIndex folder) {
  return Table().entries[folder];
}

OSErr OpenTableFolder(FolderIndex folder, int *descriptor, FolderIndex keepOpen) {
  FolderTable &table = Table();
  if (folder == 0 || folder >= table.entries.size()) return paramErr;
  if (table.entries[folder].slot >= 0) {
    *descriptor = table.Use(folder);
    return noErr;
  }
  if (folder != kRootFolder && OpenFromOpenChild(folder, descriptor, keepOpen)) return noErr;

  std::vector<FolderIndex> closed;  // from `folder` up to below the first one that is open
  FolderIndex above = folder;
  while (table.entries[above].slot < 0 && above != kRootFolder) {
    closed.push_back(above);
    above = table.entries[above].parent;
  }
  if (table.entries[above].slot >= 0) {
    *descriptor = table.Use(above);
  } else if (OSErr error = OpenRoot(O_PATH, descriptor, keepOpen); error != noErr) {
    return error;
  }
  for (auto next = closed.rbegin(); next != closed.rend(); ++next) {
    if (OSErr error = OpenFromParent(*next, *descriptor, descriptor, keepOpen); error != noErr) {
      return error;
    }
  }
  return noErr;
}

OSErr EnterFolder(FolderIndex parent, const char *name, FolderIndex *folder, int *descriptor) {
  struct stat found;
  return OpenAndEnter(parent, name, O_PATH, nullptr, folder, descriptor, &found);
}

OSErr EnterFolder(const ItemReference &folder, FolderIndex *index, int *descriptor) {
  struct stat found;
  return OpenAndEnter(folder.folder, folder.Name(), O_PATH, &folder, index, descriptor, &found);
}

OSErr EnterFolderForListing(const ItemReference &folder, FolderIndex *index, int *descriptor) {
  struct stat found {};
  if (folder.IsRoot()) {
    CloseFolder(kRootFolder);
    *index = kRootFolder;
    if (OSErr error = OpenRoot(O_RDONLY, descriptor, 0); error != noErr) return error;
  } else if (OSErr error = OpenAndEnter(folder.folder, folder.Name(), O_RDONLY, &folder, index,
                                        descriptor, &found);
             error != noErr) {
    return error;
  }
  Table().entries[*index].listedState = folder.IsRoot() ? 0 : SettledState(found, *descriptor);
  return noErr;
}

bool IsListingCurrent(FolderIndex folder) {
  const FolderEntry &entry = EntryOf(folder);
  if (entry.listedState == 0) return false;
  int descriptor = -1;
  if (OpenTableFolder(folder, &descriptor) != noErr) return false;
  struct stat status;
  return fstat(descriptor, &status) == 0 && Nanoseconds(status.st_ctim) == entry.listedState;
}

bool HasListingHeld(FolderIndex folder) {
  if (EntryOf(folder).trustedListing == FolderListingCount())
    return EntryOf(folder).listedState != 0;
  if (!IsListingCurrent(folder)) return false;
  Table().entries[folder].trustedListing = FolderListingCount();
  return true;
}

FSRef RefOfFolder(FolderIndex folder) {
  // Asked twice for every file; what an entry says of its folder never changes.
  static FolderIndex madeLast = 0;
  static FSRef ref;
  if (madeLast == folder) return ref;
  const FolderEntry &entry = EntryOf(folder);
  ItemReference reference{};
  reference.device = entry.device;
  reference.inode = entry.inode;
  reference.folder = entry.parent;
  reference.kind = ItemKind::kFolder;
  reference.isIdentified = true;
  reference.SetName({entry.name, entry.nameLength});
  ref = RefHolding(reference);
  madeLast = folder;
  return ref;
}

void CloseFolder(FolderIndex folder) {
  FolderTable &table = Table();
  if (table.entries[folder].slot >= 0) {
    table.Close(table.slots[static_cast<std::size_t>(table.entries[folder].slot)]);
  }
}

FolderIndex FindFolder(FolderIndex parent, std::string_view name) {
  const auto found = Table().byPlace.find({parent, name});
  return found == Table().byPlace.end() ? 0 : found->second;
}

void ForgetScan() {
  ++Table().scan;
  Table().unread.clear();
}

void NoteFolderRead(FolderIndex folder) {
  Table().entries[folder].scan = Table().scan;
}

void NoteFolderUnread(FolderIndex parent, std::string_view name, OSErr error) {
  Table().unread.try_emplace({parent, {KeepName(name), name.size()}}, error);
}

OSErr CheckReadByScan(FolderIndex folder) {
  const FolderTable &table = Table();
  const FolderEntry &entry = table.entries[folder];
  const auto found = table.unread.find({entry.parent, NameOf(entry)});
  return found == table.unread.end() ? noErr : found->second;
}

std::int16_t VolumeOfDevice(std::uint64_t device) {
  static std::vector<std::uint64_t> devices;
  std::size_t number = 0;
  while (number < devices.size() && devices[number] != device) ++number;
  if (number == devices.size()) devices.push_back(device);
  return static_cast<std::int16_t>(-1 - static_cast<std::int16_t>(number));
}

void CloseAllFolders() {
  (void)Table().CloseAllBut(0, 0);
}

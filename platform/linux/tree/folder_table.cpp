#include "platform/linux/tree/folder_table.h"

#include <fcntl.h>
#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <functional>
#include <optional>
#include <unordered_map>
#include <vector>

#include "platform/linux/system/errors.h"
#include "platform/linux/tree/item_location.h"
#include "platform/linux/tree/volume_traits.h"

namespace {

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

using Places = std::unordered_map<Place, FolderIndex, PlaceHash>;

FolderIndex In(const Places &places, const Place &place) {
  const auto found = places.find(place);
  return found == places.end() ? 0 : found->second;
}

/// This bit tells the places of a run's folders from those of the others.
constexpr FolderIndex kOfRun = FolderIndex{1} << 31;

struct FolderTable {
  std::vector<FolderEntry> lasting;
  Places lastingPlaces;
  std::vector<FolderEntry> ofRun;
  Places placesOfRun;
  FolderIndex runsBefore = 0;  ///< how many entries the runs before have had

  std::unordered_map<Place, OSErr, PlaceHash> unread;
  std::vector<Slot> slots = std::vector<Slot>(SlotsWithinLimit());
  std::uint64_t useCount = 0;
  std::uint32_t scan = 1;

  /// A run moves everything into one folder, and its place in the table never changes.
  FSRef foundLast = {};
  FolderIndex foundIndex = 0;
  /// Asked twice for every file; what an entry says of its folder never changes.
  FolderIndex refIndex = 0;
  FSRef ref = {};

  FolderTable() {
    lasting.reserve(256);
    lasting.push_back({0, 0, -1, "", 0, 0});
    ItemStatus root{};
    (void)Tree().Look(AT_FDCWD, "/", &root);
    lasting.push_back({kRootFolder, 1, -1, "/", root.device, root.identity.inode});
    lastingPlaces[{kRootFolder, "/"}] = kRootFolder;
  }

  FolderEntry &At(FolderIndex folder) {
    const bool isOfRun = (folder & kOfRun) != 0;
    std::vector<FolderEntry> &entries = isOfRun ? ofRun : lasting;
    const std::size_t place = isOfRun ? (folder & ~kOfRun) - runsBefore : folder;
    return place < entries.size() ? entries[place] : lasting.front();
  }

  FolderIndex Find(const Place &place) const {
    const FolderIndex found = In(placesOfRun, place);
    return found != 0 ? found : In(lastingPlaces, place);
  }

  FolderIndex Add(const Place &place, const Identity &identity, KeepFor keepFor) {
    const char *const name = KeepName(place.name, keepFor);
    const FolderEntry entry{
        place.parent,  static_cast<std::uint16_t>(place.name.size()), -1, name, identity.device,
        identity.inode};
    const bool isOfRun = keepFor == KeepFor::kRun;
    std::vector<FolderEntry> &entries = isOfRun ? ofRun : lasting;
    const auto added = static_cast<FolderIndex>(entries.size());
    entries.push_back(entry);
    const FolderIndex index = isOfRun ? (added + runsBefore) | kOfRun : added;
    (isOfRun ? placesOfRun : lastingPlaces)
        .insert_or_assign({place.parent, {name, place.name.size()}}, index);
    return index;
  }

  int Use(FolderIndex folder) {
    Slot &slot = slots[static_cast<std::size_t>(At(folder).slot)];
    slot.lastUse = ++useCount;
    return slot.descriptor;
  }

  void Close(Slot &slot) {
    if (slot.folder == 0) return;
    Tree().CloseFolder(slot.descriptor);
    At(slot.folder).slot = -1;
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
    At(folder).slot = static_cast<std::int16_t>(&slot - slots.data());
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

/// Opens a folder, and gives up other descriptors when the process has too many. `from` is the
/// folder behind `descriptor`. 0 or an `errno` value.
int OpenAt(int descriptor, const char *name, FolderUse use, FolderIndex from, FolderIndex keepOpen,
           int *opened) {
  for (;;) {
    const int error = Tree().OpenFolder(descriptor, name, use, opened);
    if (error != EMFILE || !Table().CloseAllBut(from, keepOpen)) return error;
  }
}

/// Whether `descriptor` is the folder of the table.
bool IsFolder(int descriptor, const FolderEntry &entry) {
  ItemStatus found;
  return Tree().Look(descriptor, "", &found) == 0 && found.device == entry.device &&
         found.identity.inode == entry.inode;
}

std::string_view NameOf(const FolderEntry &entry) {
  return {entry.name, entry.nameLength};
}

/// Opens a folder whose parent is open.
OSErr OpenFromParent(FolderIndex folder, int parent, int *descriptor, FolderIndex keepOpen) {
  FolderTable &table = Table();
  const FolderEntry entry = table.At(folder);
  int opened = -1;
  const int error = OpenAt(parent, entry.name, FolderUse::kPlace, entry.parent, keepOpen, &opened);
  if (error != 0) return ErrorFromErrno(error);
  if (!IsFolder(opened, entry)) {
    Tree().CloseFolder(opened);
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
    if (slot.folder == 0 || table.At(slot.folder).parent != folder) continue;
    int opened = -1;
    if (OpenAt(slot.descriptor, "..", FolderUse::kPlace, slot.folder, keepOpen, &opened) != 0) {
      return false;
    }
    if (IsFolder(opened, table.At(folder))) {
      *descriptor = table.Keep(folder, opened, keepOpen);
      return true;
    }
    Tree().CloseFolder(opened);
  }
  return false;
}

/// When a folder last changed; 0 when the next change might not show in that, for the volume's
/// times are coarse or the last change is recent.
std::int64_t SettledState(const ItemStatus &status, int descriptor) {
  constexpr std::int64_t kSeveralTicks = 50'000'000;
  constexpr std::int64_t kMillisecond = 1'000'000;
  // A volume that keeps whole seconds, as ext4 with small inodes, says so by its zeros.
  if (status.changed % kMillisecond == 0) return 0;
  if (!TraitsOfVolume(status.device, descriptor).isPrompt) return 0;
  timespec now{};
  (void)clock_gettime(CLOCK_REALTIME_COARSE, &now);
  const std::int64_t time = std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
  // Unlike the time of modification this one cannot be set back.
  return time - status.changed > kSeveralTicks ? status.changed : 0;
}

/// The table's place for a folder that was entered under the very name and identity that the
/// reference has; 0 when there is none.
FolderIndex IndexInTable(const ItemReference &reference) {
  if (reference.IsRoot()) return kRootFolder;
  if (!reference.IsIdentified()) return 0;
  const FolderIndex index = FindFolder(reference.folder, reference.NameView());
  if (index == 0) return 0;
  const FolderEntry &entry = EntryOf(index);
  const bool isSame = reference.device == entry.device && reference.inode == entry.inode;
  return isSame ? index : 0;
}

OSErr OpenRoot(FolderUse use, int *descriptor, FolderIndex keepOpen) {
  int opened = -1;
  if (int error = OpenAt(AT_FDCWD, "/", use, 0, keepOpen, &opened); error != 0) {
    return ErrorFromErrno(error);
  }
  *descriptor = Table().Keep(kRootFolder, opened, keepOpen);
  return noErr;
}

/// The table's place for a folder that was found as `name` in `parent`.
FolderIndex PlaceFor(const Place &place, const Identity &identity, KeepFor keepFor) {
  FolderTable &table = Table();
  // What is to stay must not lead through what a run has brought in.
  const FolderIndex known =
      keepFor == KeepFor::kProcess ? In(table.lastingPlaces, place) : table.Find(place);
  if (known != 0) {
    const FolderEntry &entry = table.At(known);
    if (entry.device == identity.device && entry.inode == identity.inode) return known;
    if (entry.scan == table.scan) NoteFolderUnread(place.parent, place.name, errFSRefsDifferent);
  }
  return table.Add(place, identity, keepFor);
}

void NoteState(FolderIndex folder, const ItemStatus &found) {
  FolderEntry &entry = Table().At(folder);
  if (entry.enteredIn == Table().scan) return;
  entry.enteredIn = Table().scan;
  entry.before = {found.mode & 07777, found.owner, found.group, found.modified};
}

/// Opens a folder and enters it.
OSErr OpenAndEnter(FolderIndex parent, const char *name, FolderUse use,
                   const ItemReference *expected, FolderIndex *folder, int *descriptor,
                   ItemStatus *found, KeepFor keepFor = KeepFor::kRun) {
  int parentDescriptor = -1;
  if (OSErr error = OpenTableFolder(parent, &parentDescriptor); error != noErr) return error;
  int opened = -1;
  if (int error = OpenAt(parentDescriptor, name, use, parent, 0, &opened); error != 0) {
    return ErrorFromErrno(error);
  }
  OSErr error = ErrorFromErrno(Tree().Look(opened, "", found));
  if (error == noErr && expected != nullptr && expected->IsIdentified() &&
      (expected->device != found->device || expected->inode != found->identity.inode)) {
    NoteFolderUnread(parent, name, errFSRefsDifferent);
    error = fnfErr;
  }
  if (error != noErr) {
    Tree().CloseFolder(opened);
    return error;
  }
  *folder = PlaceFor({parent, name}, {found->device, found->identity.inode}, keepFor);
  NoteState(*folder, *found);
  // What was open before may be unfit for listing, so the newer descriptor stays.
  CloseFolder(*folder);
  *descriptor = Table().Keep(*folder, opened, parent);
  return noErr;
}

}  // namespace

const FolderEntry &EntryOf(FolderIndex folder) {
  return Table().At(folder);
}

bool IsKnownFolder(FolderIndex folder) {
  return EntryOf(folder).parent != 0;
}

FolderState StateBeforeRun(FolderIndex folder) {
  const FolderEntry &entry = EntryOf(folder);
  return entry.enteredIn == Table().scan ? entry.before : FolderState();
}

void ForgetFoldersOfRun() {
  FolderTable &table = Table();
  table.foundIndex = table.refIndex = 0;
  table.placesOfRun = {};
  table.runsBefore += static_cast<FolderIndex>(table.ofRun.size());
  table.ofRun = {};
  ForgetNamesOfRun();
}

OSErr OpenTableFolder(FolderIndex folder, int *descriptor, FolderIndex keepOpen) {
  FolderTable &table = Table();
  if (!IsKnownFolder(folder)) return paramErr;
  if (table.At(folder).slot >= 0) {
    *descriptor = table.Use(folder);
    return noErr;
  }
  if (folder != kRootFolder && OpenFromOpenChild(folder, descriptor, keepOpen)) return noErr;

  std::vector<FolderIndex> closed;  // from `folder` up to below the first one that is open
  FolderIndex above = folder;
  while (table.At(above).slot < 0 && above != kRootFolder) {
    closed.push_back(above);
    above = table.At(above).parent;
  }
  if (table.At(above).slot >= 0) {
    *descriptor = table.Use(above);
  } else if (OSErr error = OpenRoot(FolderUse::kPlace, descriptor, keepOpen); error != noErr) {
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
  ItemStatus found;
  return OpenAndEnter(parent, name, FolderUse::kPlace, nullptr, folder, descriptor, &found,
                      KeepFor::kProcess);
}

OSErr EnterFolder(const ItemReference &folder, FolderIndex *index, int *descriptor) {
  ItemStatus found;
  return OpenAndEnter(folder.folder, folder.Name(), FolderUse::kPlace, &folder, index, descriptor,
                      &found);
}

OSErr EnterFolderForListing(const ItemReference &folder, FolderIndex *index, int *descriptor) {
  ItemStatus found{};
  if (folder.IsRoot()) {
    CloseFolder(kRootFolder);
    *index = kRootFolder;
    if (OSErr error = OpenRoot(FolderUse::kListing, descriptor, 0); error != noErr) return error;
  } else if (OSErr error = OpenAndEnter(folder.folder, folder.Name(), FolderUse::kListing, &folder,
                                        index, descriptor, &found);
             error != noErr) {
    return error;
  }
  Table().At(*index).listedState = folder.IsRoot() ? 0 : SettledState(found, *descriptor);
  return noErr;
}

bool HasListingHeld(FolderIndex folder, std::uint64_t step) {
  const FolderEntry &entry = EntryOf(folder);
  if (entry.listedState == 0) return false;
  if (entry.trustedInStep == step) return true;
  int descriptor = -1;
  if (OpenTableFolder(folder, &descriptor) != noErr) return false;
  ItemStatus status;
  const bool hasHeld =
      Tree().Look(descriptor, "", &status) == 0 && status.changed == entry.listedState;
  if (!hasHeld) return false;
  Table().At(folder).trustedInStep = step;
  return true;
}

FSRef RefOfFolder(FolderIndex folder) {
  FolderTable &table = Table();
  if (table.refIndex == folder) return table.ref;
  if (!IsKnownFolder(folder)) return {};
  const FolderEntry &entry = EntryOf(folder);
  ItemReference reference{};
  reference.device = entry.device;
  reference.inode = entry.inode;
  reference.folder = entry.parent;
  reference.kind = ItemKind::kFolder;
  reference.sight = Sight::kIdentified;
  reference.SetName(NameOf(entry), (folder & kOfRun) != 0 ? KeepFor::kRun : KeepFor::kProcess);
  table.ref = RefHolding(reference);
  table.refIndex = folder;
  return table.ref;
}

OSErr FindTableFolder(const FSRef &folder, FolderIndex *index, int *descriptor) {
  FolderTable &table = Table();
  if (table.foundIndex != 0 && IsSameReference(folder, table.foundLast)) {
    *index = table.foundIndex;
    return OpenTableFolder(*index, descriptor);
  }
  const ItemReference &reference = ReferenceIn(folder);
  if (reference.folder == 0) return paramErr;
  *index = IndexInTable(reference);
  if (*index == 0) return EnterFolder(reference, index, descriptor);
  table.foundLast = folder;
  table.foundIndex = *index;
  return OpenTableFolder(*index, descriptor);
}

void CloseFolder(FolderIndex folder) {
  FolderTable &table = Table();
  if (table.At(folder).slot >= 0) {
    table.Close(table.slots[static_cast<std::size_t>(table.At(folder).slot)]);
  }
}

FolderIndex FindFolder(FolderIndex parent, std::string_view name) {
  return Table().Find({parent, name});
}

void ForgetScan() {
  ++Table().scan;
  Table().unread.clear();
}

void NoteFolderRead(FolderIndex folder) {
  Table().At(folder).scan = Table().scan;
}

void NoteFolderUnread(FolderIndex parent, std::string_view name, OSErr error) {
  Table().unread.try_emplace({parent, {KeepName(name, KeepFor::kRun), name.size()}}, error);
}

OSErr CheckReadByScan(FolderIndex folder) {
  const FolderTable &table = Table();
  const FolderEntry &entry = EntryOf(folder);
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

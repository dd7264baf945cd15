#include "platform/linux/plan/plan.h"

#include <dirent.h>
#include <linux/capability.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "platform/linux/system/capabilities.h"
#include "platform/linux/tree/folder_table.h"
#include "platform/linux/tree/item_location.h"
#include "platform/linux/tree/tree_memory.h"

// The order in which the system finds reasons to refuse is that of Linux, fs/namei.c.

namespace {

bool HasSymbolicLinks(const VolumeStatus &volume) {
  constexpr long kExfatMagic = 0x2011BAB0;  // Linux, fs/exfat/exfat_fs.h
  constexpr std::array kWithout{long{MSDOS_SUPER_MAGIC}, kExfatMagic};
  return std::ranges::find(kWithout, volume.kind) == kWithout.end();
}

bool IsOwnedByUser(std::uint32_t owner) {
  return owner == geteuid() || HasCapability(CAP_FOWNER);
}

}  // namespace

CPlan::CPlan() {
  PutLayerOnDisk(this);
}

CPlan::~CPlan() {
  RemoveLayer(this);
}

int CPlan::Change(const TreeChange &change) {
  if (change.onlyIf && !change.onlyIf()) return ESTALE;
  try {
    return TryToChange(change);
  } catch (const std::bad_alloc &) {
    return ENOMEM;
  }
}

int CPlan::TryToChange(const TreeChange &change) {
  switch (change.kind) {
    case ChangeKind::kRename:
      return Rename(change);
    case ChangeKind::kMakeFolder:
    case ChangeKind::kMakePrivateFolder:
      return Make(change, DT_DIR);
    case ChangeKind::kMakeLink:
      return Make(change, DT_LNK);
    case ChangeKind::kMakeFile:
      return Make(change, DT_REG);
    case ChangeKind::kRemoveFile:
    case ChangeKind::kRemoveFolder:
      return Remove(change);
    case ChangeKind::kAllowWriting:
    case ChangeKind::kClearImmutable:
      return Unlock(change);
    case ChangeKind::kReplaceFile:
      return 0;  // The trash's own list of sizes: nobody looks at it again.
    default:
      return EOPNOTSUPP;  // No run asks for it whose renames are granted.
  }
}

void CPlan::BeginMove(const TreeMove &move) {
  move_ = {};
  isTrashing_ = move.trash != nullptr;
}

void CPlan::EndMove() {
  const KeptChange &change = move_.change;
  const bool isBack = change.folder == change.newFolder && change.name == change.newName;
  if (move_.isThere && !isBack) changes_.push_back(change);
  move_ = {};
  isTrashing_ = false;
}

PlanFolder CPlan::MountOf(PlanFolder folder) {
  const auto isMount = [this](PlanFolder candidate) {
    if (candidate == CPlannedTree::kRoot) return true;
    Spot spot;
    ItemStatus status;
    const bool isKnown = FactsOf(candidate).device != 0 ||
                         (Locate({candidate, ""}, &spot) == 0 && LookAt(spot, &status) == 0);
    return isKnown && FactsOf(candidate).isMountPoint;
  };
  while (!isMount(folder)) {
    folder = tree_.IsMade(folder) ? tree_.ParentOf(folder) : tree_.At(folder).disk.folder;
  }
  return folder;
}

CPlan::Rights CPlan::RightsOf(PlanFolder folder) {
  if (folder >= rights_.size()) rights_.resize(folder + 1);
  if (!rights_[folder].areKnown) rights_[folder] = FindOutRights(folder);
  return rights_[folder];
}

CPlan::Rights CPlan::FindOutRights(PlanFolder folder) {
  Rights rights{.areKnown = true, .mount = MountOf(folder)};
  Spot spot;
  if (tree_.IsMade(folder) || Locate({folder, ""}, &spot) != 0) return rights;
  const auto check = [&spot, this](int mode) {
    return Below().CheckAccess(spot.descriptor, ".", mode);
  };
  rights.changeError = check(W_OK | X_OK);
  if (rights.changeError != 0) rights.searchError = check(X_OK);
  VolumeStatus volume{};
  if (Below().LookAtVolume(spot.descriptor, &volume) == 0) {
    rights.isReadOnly = volume.isReadOnly;
    rights.hasLinks = HasSymbolicLinks(volume);
  }
  return rights;
}

/// Whether the user may take an item out of a folder.
int CPlan::CheckRemoval(PlanFolder folder, const ItemStatus &item) {
  if (const int error = RightsOf(folder).changeError; error != 0) return error;
  const Folder &facts = FactsOf(folder);
  if (facts.isAppendOnly || item.isAppendOnly || item.isImmutable) return EPERM;
  return IsSticky(folder) && !IsOwnedByUser(item.owner) ? EPERM : 0;
}

/// Whether users may take away no items but their own, of whom this one does not own the folder.
bool CPlan::IsSticky(PlanFolder folder) {
  const Folder &facts = FactsOf(folder);
  return (facts.mode & S_ISVTX) != 0 && facts.owner != geteuid();
}

/// Finds an item that is to be taken away.
int CPlan::LookForRemoval(const PlanPlace &place, Spot *spot, ItemStatus *item) {
  const Rights rights = RightsOf(place.folder);
  if (rights.searchError != 0) return rights.searchError;
  if (rights.isReadOnly) return EROFS;
  const int error = Locate(place, spot);
  return error != 0 ? error : LookAt(*spot, item);
}

/// Whether the disk is known to have no such item in the folder, so that it need not be asked.
bool CPlan::IsMissingOnDisk(const PlanPlace &place) {
  constexpr int kLookupsBeforeListing = 32;
  if (names_.folder != place.folder) names_ = {.folder = place.folder, .hashes = {}};
  if (tree_.At(place.folder).ignoresCase) return false;
  if (!names_.areListed && ++names_.lookups == kLookupsBeforeListing) {
    int descriptor = -1;
    int listing = -1;
    if (OpenOnDisk(place.folder, &descriptor) != 0 ||
        Below().OpenFolder(descriptor, ".", FolderUse::kListing, &listing) != 0) {
      return false;
    }
    names_.areListed =
        Below().List(listing, [this](std::string_view listed, unsigned char, std::uint64_t) {
          names_.hashes.Insert(PlanPlace(names_.folder, std::string(listed).c_str()).hash);
        }) == 0;
    Below().CloseFolder(listing);
  }
  return names_.areListed && !names_.hashes.Contains(place.hash);
}

/// 0 when a name is free and can be one. The disk knows how long one may be there.
int CPlan::LookForFree(const PlanPlace &place, bool isKnownToFit) {
  Spot spot;
  ItemStatus item{};
  if (tree_.FindArrived(place) != nullptr) return EEXIST;
  if (tree_.IsMade(place.folder) || (isKnownToFit && IsMissingOnDisk(place))) return 0;
  int error = OpenOnDisk(place.folder, &spot.descriptor);
  if (error == 0) error = Below().Look(spot.descriptor, place.name, &item);
  if (error == 0) error = tree_.HasLeft(place) ? ENOENT : EEXIST;
  return error == ENOENT ? 0 : error;
}

int CPlan::Rename(const TreeChange &change) {
  const PlanFolder from = FolderOf(change.folder.descriptor);
  const PlanFolder to = FolderOf(change.newFolder.descriptor);
  const PlanPlace source(from, change.name);
  const PlanPlace target(to, change.newName);
  tree_.PrepareMove(source, target);
  const Rights there = RightsOf(from);
  const Rights here = RightsOf(to);
  if (there.searchError != 0) return there.searchError;
  if (here.searchError != 0) return here.searchError;
  if (there.mount != here.mount) return EXDEV;
  Spot spot;
  ItemStatus item{};
  if (const CPlannedTree::Item *moved = tree_.FindArrived(source);
      moved != nullptr && moved->type != DT_DIR && !IsSticky(from)) {
    // What has let it be moved once lets it be moved again.
    item.identity.inode = moved->inode;
    item.mode = static_cast<std::uint32_t>(DTTOIF(moved->type));
  } else if (int error = LookForRemoval(source, &spot, &item); error != 0) {
    return error;
  }
  const bool isSameName = from != to && std::strcmp(change.name, change.newName) == 0;
  // A folder that gets another parent is itself changed.
  const bool isChanged = item.IsFolder() && from != to && spot.made == nullptr;
  const int itemError = isChanged ? Below().CheckAccess(spot.descriptor, spot.name, W_OK) : 0;
  if (int error = LookForFree(target, isSameName); error != 0) return error;
  if (int error = CheckRemoval(from, item); error != 0) return error;
  if (here.changeError != 0) return here.changeError;
  if (itemError != 0) return itemError;
  if (item.isMountPoint) return EBUSY;

  const auto [oldName, newName] = tree_.Move(
      source, target, {item.identity.inode, static_cast<unsigned char>(IFTODT(item.mode))});
  NoteChanged(from);
  NoteChanged(to);
  if (!move_.isThere) {
    const PlannedKind kind = isTrashing_ ? PlannedKind::kTrashed : PlannedKind::kMoved;
    move_ = {{kind, change.folder.index, 0, oldName, nullptr}, true};
  }
  move_.change.newFolder = change.newFolder.index;
  move_.change.newName = newName;
  return 0;
}

int CPlan::Make(const TreeChange &change, unsigned char type) {
  const PlanFolder folder = FolderOf(change.folder.descriptor);
  const Rights rights = RightsOf(folder);
  if (rights.searchError != 0) return rights.searchError;
  if (int error = LookForFree({folder, change.name}); error != 0) return error;
  if (rights.isReadOnly) return EROFS;
  if (rights.changeError != 0) return rights.changeError;
  const bool isLink = type == DT_LNK;
  if (isLink && !rights.hasLinks) return EPERM;
  const CPlannedTree::Item &made =
      tree_.Make({folder, change.name}, type, isLink ? change.newName : nullptr);
  NoteChanged(folder);
  if (isLink) {
    changes_.push_back({PlannedKind::kAliased, change.folder.index, 0, made.name, made.diskName});
  } else if (change.kind == ChangeKind::kMakeFolder) {
    changes_.push_back({PlannedKind::kMade, change.folder.index, 0, made.name, ""});
  }
  return 0;
}

int CPlan::CheckEmpty(const Spot &spot) {
  const PlanFolder folder = spot.made != nullptr ? spot.made->madeFolder : FolderAt(spot);
  if (tree_.At(folder).arrived != 0) return ENOTEMPTY;
  if (spot.made != nullptr) return 0;
  int listing = -1;
  std::size_t count = 0;
  int error = Below().OpenFolder(spot.descriptor, spot.name, FolderUse::kListing, &listing);
  if (error != 0) return ENOTEMPTY;  // What is in it nobody has seen.
  error =
      Below().List(listing, [&count](std::string_view, unsigned char, std::uint64_t) { ++count; });
  Below().CloseFolder(listing);
  return error == 0 && count <= tree_.At(folder).left ? 0 : ENOTEMPTY;
}

int CPlan::Remove(const TreeChange &change) {
  const bool isFolder = change.kind == ChangeKind::kRemoveFolder;
  const PlanFolder folder = FolderOf(change.folder.descriptor);
  Spot spot;
  ItemStatus item{};
  if (int error = LookForRemoval({folder, change.name}, &spot, &item); error != 0) return error;
  if (int error = CheckRemoval(folder, item); error != 0) return error;
  if (item.IsFolder() != isFolder) return isFolder ? ENOTDIR : EISDIR;
  if (item.isMountPoint) return EBUSY;
  if (isFolder) {
    if (int error = CheckEmpty(spot); error != 0) return error;
  }
  const char *const name = tree_.Remove(
      {folder, change.name}, {item.identity.inode, static_cast<unsigned char>(IFTODT(item.mode))});
  NoteChanged(folder);
  const PlannedKind kind = isFolder ? PlannedKind::kFolderDeleted : PlannedKind::kFileDeleted;
  if (!isTrashing_) changes_.push_back({kind, change.folder.index, 0, name, ""});
  return 0;
}

int CPlan::Unlock(const TreeChange &change) {
  const PlanFolder folder = FolderOf(change.folder.descriptor);
  Spot spot;
  ItemStatus item{};
  if (int error = LookForRemoval({folder, change.name}, &spot, &item); error != 0) return error;
  if (!IsOwnedByUser(item.owner)) return EPERM;
  const Identity identity{item.device, item.identity.inode};
  if (change.kind == ChangeKind::kAllowWriting) {
    const bool mayLieElsewhere = !item.IsFolder() && item.linkCount > 1;
    if (mayLieElsewhere || item.IsLink() || item.isImmutable || item.isAppendOnly) return EPERM;
    writable_.insert(identity);
    return 0;
  }
  if (!HasCapability(CAP_LINUX_IMMUTABLE)) return EPERM;
  const int error = CheckAccess(change.folder.descriptor, change.name, R_OK);
  if (error == 0) mutable_.insert(identity);
  return error;
}

namespace {

std::unique_ptr<CPlan> &ThePlan() {
  static std::unique_ptr<CPlan> plan;
  return plan;
}

/// Paths of items one after the other, which mostly lie in the same folder.
class CPaths {
 public:
  void Write(FolderIndex folder, const char *name, std::string *path) {
    if (folder != folder_) {
      path_ = PathOnDisk(RefOfFolder(folder));
      if (!path_.ends_with('/')) path_ += '/';
      folder_ = folder;
    }
    path->assign(path_).append(name);
  }

 private:
  FolderIndex folder_ = 0;
  std::string path_;
};

}  // namespace

void BeginPlan() {
  EndPlan();
  // A folder that is open already is none that the plan knows.
  Memory().Rest();
  ThePlan() = std::make_unique<CPlan>();
}

void EndPlan() {
  if (!IsPlanning()) return;
  Memory().Rest();
  ThePlan().reset();
}

bool IsPlanning() {
  return ThePlan() != nullptr;
}

std::size_t PlannedChangeCount() {
  return IsPlanning() ? ThePlan()->Changes().size() : 0;
}

void PlannedChangeAt(std::size_t number, PlannedChange *change) {
  const CPlan::KeptChange &kept = ThePlan()->Changes()[number];
  static CPaths paths;
  static CPaths newPaths;
  change->kind = kept.kind;
  paths.Write(kept.folder, kept.name, &change->path);
  change->newPath.clear();
  if (kept.kind == PlannedKind::kMoved) {
    newPaths.Write(kept.newFolder, kept.newName, &change->newPath);
  } else if (kept.kind == PlannedKind::kAliased) {
    change->newPath = kept.newName;
  }
}

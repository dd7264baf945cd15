#include "platform/linux/plan/planned_view.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <string>
#include <string_view>

namespace {

/// A folder that is made has no descriptor. Those that stand for one are greater than the kernel
/// gives any.
constexpr int kMadeDescriptors = 1 << 30;
/// As many links as the kernel follows (path_resolution(7)).
constexpr int kMostLinks = 40;

/// Tells the places that folders have here from those of the table of folders, where the two meet.
constexpr FolderIndex kOfPlan = FolderIndex{1} << 30;

/// The name with its ASCII letters in the other case.
std::string InOtherCase(const char *name) {
  std::string other(name);
  for (char &character : other) {
    const bool isLetter =
        (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
    if (isLetter) character = static_cast<char>(character ^ ('a' ^ 'A'));
  }
  return other;
}

}  // namespace

CPlannedView::~CPlannedView() {
  for (OwnDescriptor &own : own_) CloseOwn(own);
}

std::int64_t CPlannedView::Now() {
  timespec now{};
  (void)clock_gettime(CLOCK_REALTIME_COARSE, &now);
  return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

PlanFolder CPlannedView::FolderOf(int descriptor) const {
  if (descriptor >= kMadeDescriptors) {
    return static_cast<PlanFolder>(descriptor - kMadeDescriptors);
  }
  const auto place = static_cast<std::size_t>(descriptor);
  return descriptor >= 0 && place < byDescriptor_.size() ? byDescriptor_[place] : 0;
}

CPlannedView::Folder &CPlannedView::FactsOf(PlanFolder folder) {
  if (folder >= folders_.size()) folders_.resize(folder + 1);
  return folders_[folder];
}

void CPlannedView::Register(PlanFolder folder, int descriptor) {
  const auto place = static_cast<std::size_t>(descriptor);
  if (place >= byDescriptor_.size()) byDescriptor_.resize(place + 1);
  byDescriptor_[place] = folder;
  FactsOf(folder).descriptor = descriptor;
}

void CPlannedView::CloseOwn(OwnDescriptor &own) {
  if (own.folder == 0) return;
  if (FactsOf(own.folder).descriptor == own.descriptor) FactsOf(own.folder).descriptor = -1;
  Below().CloseFolder(own.descriptor);
  own = {};
}

void CPlannedView::KeepOwn(PlanFolder folder, int descriptor) {
  OwnDescriptor &own = own_[nextOwn_++ % own_.size()];
  CloseOwn(own);
  own = {folder, descriptor};
  FactsOf(folder).descriptor = descriptor;
}

void CPlannedView::Rest() {
  for (OwnDescriptor &own : own_) CloseOwn(own);
  Below().Rest();
}

/// From the nearest folder above it that is open, as the table of folders does it.
int CPlannedView::OpenOnDisk(PlanFolder folder, int *descriptor) {
  std::vector<PlanFolder> closed;
  PlanFolder above = folder;
  for (; FactsOf(above).descriptor < 0 && above != CPlannedTree::kRoot;
       above = tree_.At(above).disk.folder) {
    closed.push_back(above);
  }
  *descriptor = FactsOf(above).descriptor;
  if (*descriptor < 0) {
    const int error = Below().OpenFolder(AT_FDCWD, "/", FolderUse::kPlace, descriptor);
    if (error != 0) return error;
    KeepOwn(above, *descriptor);
  }
  int opened = -1;
  for (auto next = closed.rbegin(); next != closed.rend(); ++next) {
    const int error =
        Below().OpenFolder(*descriptor, tree_.At(*next).disk.name, FolderUse::kPlace, descriptor);
    if (opened >= 0) Below().CloseFolder(opened);
    if (error != 0) return error;
    opened = *descriptor;
  }
  if (opened >= 0) KeepOwn(folder, opened);
  return 0;
}

/// Whether the volume takes names that differ only in case for the same shows where another case of
/// a name that is there is found and not listed.
void CPlannedView::FindOutCase(const Spot &spot) {
  Folder &facts = FactsOf(spot.folder);
  const std::string other = InOtherCase(spot.name);
  if (facts.isCaseKnown || other == spot.name) return;
  facts.isCaseKnown = true;
  ItemStatus status{};
  bool isFound = Below().Look(spot.descriptor, other.c_str(), &status) == 0;
  int listing = -1;
  if (isFound && Below().OpenFolder(spot.descriptor, ".", FolderUse::kListing, &listing) == 0) {
    (void)Below().List(listing, [&](std::string_view name, unsigned char, std::uint64_t) {
      if (name == other) isFound = false;
    });
    Below().CloseFolder(listing);
  }
  tree_.At(spot.folder).ignoresCase = isFound;
}

PlanFolder CPlannedView::FolderAt(const Spot &spot) {
  const PlanPlace disk{spot.folder, spot.name};
  if (const PlanFolder known = tree_.FindFolder(disk); known != 0) return known;
  FindOutCase(spot);
  // By a name in another case it may be one that is known.
  if (const PlanFolder known = tree_.FindFolder(disk); known != 0) return known;
  return tree_.AddFolder(disk);
}

/// For the disk, which keeps in mind by its number which folder is the current one.
OpenedFolder CPlannedView::Opened(const Spot &spot) {
  return {spot.descriptor, kOfPlan | spot.folder};
}

int CPlannedView::Locate(const PlanPlace &place, Spot *spot) {
  if (*place.name == '\0') {
    if (tree_.IsMade(place.folder)) {
      spot->made = &tree_.ItemOf(place.folder);
      return 0;
    }
  } else {
    if (const CPlannedTree::Item *item = tree_.FindArrived(place); item != nullptr) {
      if (item->IsMade()) {
        spot->made = item;
        return 0;
      }
      *spot = {nullptr, item->diskFolder, -1, item->diskName};
      return OpenOnDisk(item->diskFolder, &spot->descriptor);
    }
    if (tree_.IsMade(place.folder) || tree_.HasLeft(place)) return ENOENT;
  }
  *spot = {nullptr, place.folder, -1, place.name};
  return OpenOnDisk(place.folder, &spot->descriptor);
}

/// An item as the user would have made it, a moment ago.
void CPlannedView::Invent(const CPlannedTree::Item &made, ItemStatus *status) {
  PlanFolder onDisk = made.folder;
  while (tree_.IsMade(onDisk)) onDisk = tree_.ParentOf(onDisk);
  const auto kind = static_cast<std::uint32_t>(DTTOIF(made.type));
  *status = {};
  status->device = FactsOf(onDisk).device;
  status->identity.inode = made.inode;
  status->mode = kind | (S_ISDIR(kind) ? 0755U : S_ISLNK(kind) ? 0777U : 0600U);
  status->owner = geteuid();
  status->group = getegid();
  status->linkCount = 1;
  status->modified = status->changed = Now();
}

int CPlannedView::LookAt(const Spot &spot, ItemStatus *status) {
  if (spot.made != nullptr) {
    Invent(*spot.made, status);
    return 0;
  }
  if (int error = Below().Look(spot.descriptor, spot.name, status); error != 0) return error;
  const Identity identity{status->device, status->identity.inode};
  if (writable_.contains(identity)) status->mode |= S_IWUSR;
  if (mutable_.contains(identity)) status->isImmutable = false;
  if (*spot.name != '\0') return 0;
  Folder &facts = FactsOf(spot.folder);
  facts.device = status->device;
  facts.mode = status->mode;
  facts.owner = status->owner;
  facts.isMountPoint = status->isMountPoint;
  facts.isAppendOnly = status->isAppendOnly;
  if (facts.changed != 0) status->modified = status->changed = facts.changed;
  return 0;
}

int CPlannedView::OpenParent(PlanFolder folder, int from, FolderUse use, int *descriptor) {
  const PlanFolder parent = tree_.ParentOf(folder);
  if (tree_.IsMade(parent)) {
    *descriptor = kMadeDescriptors + static_cast<int>(parent);
    return 0;
  }
  // One step, where the way down from the root would be as long as the folder is deep.
  const bool isAtHome = parent == tree_.At(folder).disk.folder || folder == CPlannedTree::kRoot;
  int start = from;
  if (!isAtHome) {
    if (int error = OpenOnDisk(parent, &start); error != 0) return error;
  }
  const int error = Below().OpenFolder(start, isAtHome ? ".." : ".", use, descriptor);
  if (error == 0) Register(parent, *descriptor);
  return error;
}

int CPlannedView::OpenFolder(int folder, const char *name, FolderUse use, int *descriptor) {
  const std::string_view wanted(name);
  const PlanFolder known = folder == AT_FDCWD ? 0 : FolderOf(folder);
  if (known == 0) {
    const int error = Below().OpenFolder(folder, name, use, descriptor);
    if (error == 0 && folder == AT_FDCWD && wanted == "/") {
      Register(CPlannedTree::kRoot, *descriptor);
    }
    return error;
  }
  if (wanted == "..") return OpenParent(known, folder, use, descriptor);
  Spot spot;
  if (int error = Locate({known, wanted == "." ? "" : name}, &spot); error != 0) return error;
  if (spot.made != nullptr) {
    if (spot.made->type != DT_DIR) return ENOTDIR;
    *descriptor = kMadeDescriptors + static_cast<int>(spot.made->madeFolder);
    return 0;
  }
  const char *const way = *spot.name == '\0' ? "." : spot.name;
  if (int error = Below().OpenFolder(spot.descriptor, way, use, descriptor); error != 0) {
    return error;
  }
  Register(*spot.name == '\0' ? spot.folder : FolderAt(spot), *descriptor);
  return 0;
}

void CPlannedView::CloseFolder(int descriptor) {
  if (descriptor >= kMadeDescriptors) return;
  const PlanFolder folder = FolderOf(descriptor);
  if (folder != 0) {
    byDescriptor_[static_cast<std::size_t>(descriptor)] = 0;
    if (FactsOf(folder).descriptor == descriptor) FactsOf(folder).descriptor = -1;
  }
  Below().CloseFolder(descriptor);
}

int CPlannedView::Look(int folder, const char *name, ItemStatus *status) {
  const PlanFolder known = FolderOf(folder);
  if (known == 0) return Below().Look(folder, name, status);
  Spot spot;
  const int error = Locate({known, name}, &spot);
  return error != 0 ? error : LookAt(spot, status);
}

int CPlannedView::LookUp(const OpenedFolder &folder, const char *name, ItemStatus *status) {
  return Look(folder.descriptor, name, status);
}

/// Goes the way step by step, as any of them may lead through what the plan has changed.
int CPlannedView::LookBehindLink(int folder, const char *name, ItemStatus *status) {
  PlanFolder current = FolderOf(folder);
  int level = 0;
  int links = 0;
  std::string rest = name;
  int error = Look(folder, "", status);
  while (error == 0 && !rest.empty()) {
    const std::size_t end = std::min(rest.find('/'), rest.size());
    const std::string step = rest.substr(0, end);
    rest.erase(0, end + 1);
    if (!status->IsFolder()) return ENOTDIR;
    if (step.empty() || step == ".") continue;
    if (step == "..") {
      current = tree_.ParentOf(current);
      if (--level < 0) return EXDEV;
      continue;
    }
    Spot spot;
    error = Locate({current, step.c_str()}, &spot);
    if (error == 0) error = LookAt(spot, status);
    if (error != 0) return error;
    if (status->isMountPoint) return EXDEV;
    if (status->IsLink()) {
      std::string target;
      if (++links > kMostLinks) return ELOOP;
      if (spot.made != nullptr) return EXDEV;  // Those made lead the way from the root.
      error = Below().ReadLink(spot.descriptor, spot.name, &target);
      if (error == 0 && target.starts_with('/')) return EXDEV;
      rest = target.append("/").append(rest);
      status->mode = S_IFDIR;
    } else if (status->IsFolder()) {
      current = spot.made != nullptr ? spot.made->madeFolder : FolderAt(spot);
      ++level;
    }
  }
  return error;
}

int CPlannedView::ReadLink(int folder, const char *name, std::string *target) {
  Spot spot;
  if (int error = Locate({FolderOf(folder), name}, &spot); error != 0) return error;
  if (spot.made == nullptr) return Below().ReadLink(spot.descriptor, spot.name, target);
  if (spot.made->type != DT_LNK) return EINVAL;
  *target = spot.made->diskName;
  return 0;
}

int CPlannedView::List(int folder, const ItemVisitor &visit) {
  const PlanFolder known = FolderOf(folder);
  if (!tree_.IsMade(known)) {
    std::string copy;
    const bool hasLosses = tree_.At(known).left != 0;
    const int error =
        Below().List(folder, [&](std::string_view name, unsigned char type, std::uint64_t inode) {
          if (hasLosses) {
            copy = name;
            if (tree_.HasLeft({known, copy.c_str()})) return;
          }
          visit(name, type, inode);
        });
    if (error != 0) return error;
  }
  tree_.VisitArrived(
      known, [&](const CPlannedTree::Item &item) { visit(item.name, item.type, item.inode); });
  return 0;
}

FinderInfo CPlannedView::ReadFinderInfo(const OpenedFolder &folder, const char *name) {
  Spot spot;
  if (Locate({FolderOf(folder.descriptor), name}, &spot) != 0 || spot.made != nullptr) return {};
  const bool isThere = spot.folder == FolderOf(folder.descriptor);
  return Below().ReadFinderInfo(isThere ? folder : Opened(spot), spot.name);
}

int CPlannedView::ReadFile(int folder, const char *name, std::size_t most, std::string *content) {
  Spot spot;
  content->clear();
  const int error = Locate({FolderOf(folder), name}, &spot);
  if (error != 0 || spot.made != nullptr) return error;
  return Below().ReadFile(spot.descriptor, spot.name, most, content);
}

ItemAttributes CPlannedView::ReadAttributes(const OpenedFolder &folder, const char *name) {
  Spot spot;
  if (Locate({FolderOf(folder.descriptor), name}, &spot) != 0 || spot.made != nullptr) return {};
  return Below().ReadAttributes(Opened(spot), spot.name);
}

int CPlannedView::LookAtVolume(int folder, VolumeStatus *status) {
  PlanFolder onDisk = FolderOf(folder);
  if (onDisk == 0) return Below().LookAtVolume(folder, status);
  while (tree_.IsMade(onDisk)) onDisk = tree_.ParentOf(onDisk);
  int descriptor = -1;
  const int error = OpenOnDisk(onDisk, &descriptor);
  return error != 0 ? error : Below().LookAtVolume(descriptor, status);
}

int CPlannedView::CheckAccess(int folder, const char *name, int mode) {
  Spot spot;
  const int error = Locate({FolderOf(folder), name}, &spot);
  if (error != 0 || spot.made != nullptr) return error;
  return Below().CheckAccess(spot.descriptor, *spot.name == '\0' ? "." : spot.name, mode);
}

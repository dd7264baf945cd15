/// The one way to the tree of files: every look, listing and change passes down a stack of layers
/// with this interface. The lowest is the disk; what stands above it can write changes down, have
/// them fail, or keep them from the disk, and knows of nothing but the layer below.
///
/// Calls return 0 or an `errno` value. No name is ever followed if it is a link, save where that is
/// said.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "platform/linux/tree/folder_state.h"
#include "platform/linux/tree/item_identity.h"

/// The place of a folder in the process-wide table of folders; 0 stands for none.
using FolderIndex = std::uint32_t;

/// What the disk says about one item.
struct ItemStatus {
  std::uint64_t device;
  ItemIdentity identity;
  std::uint32_t mode;  ///< as in inode(7)
  std::uint32_t owner;
  std::uint32_t group;
  std::uint32_t linkCount;
  std::uint64_t size;     ///< in bytes
  std::uint64_t diskUse;  ///< in bytes
  std::int64_t modified;  ///< times are in nanoseconds since 1970
  std::int64_t changed;
  bool isImmutable;
  bool isAppendOnly;
  bool isMountPoint;  ///< another volume, or another part of this one, is mounted on it

  bool IsFolder() const;
  bool IsFile() const;
  bool IsLink() const;
  bool IsLocked() const;  ///< no write permission for the owner, or immutable
};

/// A folder in which something is looked at or changed.
struct OpenedFolder {
  int descriptor;     ///< borrowed; may be opened with O_PATH
  FolderIndex index;  ///< its place in the table of folders
};

enum class FolderUse { kPlace, kListing };

/// What the disk says about the volume on which a folder lies.
struct VolumeStatus {
  long kind;        ///< as statfs(2) tells it
  bool isReadOnly;  ///< there, whoever asks
};

/// Takes an item of a folder: its name, one of readdir(3)'s DT_ constants, and its inode number.
using ItemVisitor =
    std::function<void(std::string_view name, unsigned char type, std::uint64_t inode)>;

/// The 32 bytes of Finder information that travel with an item copied from a Mac: Finder info in
/// the first half, extended Finder info in the second.
using FinderInfo = std::array<std::uint8_t, 32>;

enum class ChangeKind : std::uint8_t {
  kRename,      ///< without replacing: EEXIST. The disk refuses what the volume cannot promise
  kReplace,     ///< a rename onto an empty item, and nothing else: EEXIST
  kLink,        ///< gives a file a second name
  kHoldFile,    ///< takes a name with an empty file
  kHoldFolder,  ///< the same for a folder that is to replace it
  kRelease,     ///< removes such an item if it is empty still: ENOTEMPTY
  kMakeFolder,
  kMakePrivateFolder,  ///< for the user alone
  kRemoveFolder,       ///< an empty one
  kRemoveFile,
  kMakeLink,      ///< a symbolic one
  kMakeFile,      ///< a small one with a content, for the user alone: EEXIST
  kReplaceFile,   ///< puts such a one in the place of a file of the trash's own, and of no other
  kAllowWriting,  ///< to the owner. EPERM for a file with several names, which may lie elsewhere
  kClearImmutable,
  kSetMode,  ///< the permission bits, under the same rule
  kSetImmutable,
  kSetState,       ///< of the folder itself: mode, owner as far as allowed, time
  kSetAttributes,  ///< of the folder itself: those given and no others, as far as allowed
};

/// What is to be changed.
struct TreeChange {
  ChangeKind kind;
  const char *name;                    ///< the item changed, or made
  OpenedFolder folder;                 ///< in which it lies
  const char *newName = nullptr;       ///< of a rename or link; the target of a symbolic link
  OpenedFolder newFolder = {-1, 0};    ///< of a rename or link
  const FolderState *state = nullptr;  ///< of kSetState; of kSetMode the mode alone counts
  const ItemAttributes *attributes = nullptr;
  /// Asked in the last moment, if it is set: ESTALE when it says no.
  std::function<bool()> onlyIf = {};
  std::string_view content = {};  ///< of a small file

  /// "rename", "link", "hold", "release", "mkdir", "unlink", "rmdir", "symlink", "create",
  /// "replace", "chmod", "chattr", "state", "attributes"
  std::string_view Word() const;
};

/// A move as a whole, in however many steps it is made.
struct TreeMove {
  FolderIndex folder;
  const char *name;
  std::uint64_t inode;  ///< of the item, as a listing has told it; 0: not known
  FolderIndex newFolder;
  const char *newName;
  /// Of one into the trash: the path of the folder that holds the trash's `files` and `info`.
  const char *trash = nullptr;
};

/// Passes everything on to the layer below.
class CTreeLayer {
 public:
  CTreeLayer() = default;
  virtual ~CTreeLayer() = default;
  CTreeLayer(const CTreeLayer &) = delete;
  CTreeLayer &operator=(const CTreeLayer &) = delete;

  virtual int Change(const TreeChange &change) { return below_->Change(change); }

  /// The changes between the two are the steps of one move, or of taking it back. Moves are not
  /// nested.
  virtual void BeginMove(const TreeMove &move) { below_->BeginMove(move); }
  virtual void EndMove() { below_->EndMove(); }

  /// Opens a folder; ENOTDIR for anything else. `folder` is open, or AT_FDCWD with an absolute
  /// path.
  virtual int OpenFolder(int folder, const char *name, FolderUse use, int *descriptor) {
    return below_->OpenFolder(folder, name, use, descriptor);
  }
  virtual void CloseFolder(int descriptor) { below_->CloseFolder(descriptor); }

  /// `name` can be empty: the folder itself.
  virtual int Look(int folder, const char *name, ItemStatus *status) {
    return below_->Look(folder, name, status);
  }
  /// The same for a name that may be taken or free.
  virtual int LookUp(const OpenedFolder &folder, const char *name, ItemStatus *status) {
    return below_->LookUp(folder, name, status);
  }
  /// Looks at what a link leads to, on a way that never leaves the folder or its volume.
  virtual int LookBehindLink(int folder, const char *name, ItemStatus *status) {
    return below_->LookBehindLink(folder, name, status);
  }
  virtual int ReadLink(int folder, const char *name, std::string *target) {
    return below_->ReadLink(folder, name, target);
  }
  /// Lists a folder, in no order; it must be open for that, and not listed before.
  virtual int List(int folder, const ItemVisitor &visit) { return below_->List(folder, visit); }

  /// All zero when there is none. `name` can be empty, if the folder is open for listing.
  virtual FinderInfo ReadFinderInfo(const OpenedFolder &folder, const char *name) {
    return below_->ReadFinderInfo(folder, name);
  }
  /// Reads a regular file; nothing else is ever opened. The content is empty when it cannot be read
  /// or is longer than `most` bytes.
  virtual int ReadFile(int folder, const char *name, std::size_t most, std::string *content) {
    return below_->ReadFile(folder, name, most, content);
  }
  /// The extended attributes of an item, as far as they can be read. A link is not followed.
  virtual ItemAttributes ReadAttributes(const OpenedFolder &folder, const char *name) {
    return below_->ReadAttributes(folder, name);
  }
  virtual int LookAtVolume(int folder, VolumeStatus *status) {
    return below_->LookAtVolume(folder, status);
  }
  /// Whether the process may do something with an item, as faccessat(2) is asked with `mode`; 0 or
  /// what says no. A link is not followed.
  virtual int CheckAccess(int folder, const char *name, int mode) {
    return below_->CheckAccess(folder, name, mode);
  }

  /// Lets go of whatever would keep a volume busy while nothing is done.
  virtual void Rest() { below_->Rest(); }

 protected:
  CTreeLayer &Below() { return *below_; }

 private:
  friend class CTreeStack;
  CTreeLayer *below_ = nullptr;
};

/// The uppermost layer.
CTreeLayer &Tree();

/// Puts a layer on top of the others, or right above the disk, until it is removed. It must live as
/// long.
void PutLayerOnTop(CTreeLayer *layer);
void PutLayerOnDisk(CTreeLayer *layer);
void RemoveLayer(CTreeLayer *layer);

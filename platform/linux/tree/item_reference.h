/// What the 80 opaque bytes of an FSRef hold.
#pragma once

#include <sys/sysmacros.h>
#include <sys/types.h>

#include <cstdint>
#include <string_view>

#include "platform/file_manager.h"
#include "platform/linux/tree/tree_layer.h"

inline constexpr FolderIndex kRootFolder = 1;

enum class ItemKind : std::uint8_t {
  kUnknown,  ///< the folder's listing did not say
  kFolder,
  kOther,  ///< file, symbolic link, socket, pipe or device
};

/// A device's number in the 32 bits that the kernel itself gives it: 12 for the major number, 20
/// for the minor (Linux, include/linux/kdev_t.h).
class CPackedDevice {
 public:
  CPackedDevice() = default;
  CPackedDevice(dev_t device) : bits_(major(device) << kMinorBits | minor(device)) {}
  operator dev_t() const { return makedev(bits_ >> kMinorBits, bits_ & ((1U << kMinorBits) - 1)); }

 private:
  static constexpr unsigned kMinorBits = 20;
  std::uint32_t bits_ = 0;
};

/// How long what a reference needs is kept: the folder it lies in, and its name if that is long.
enum class KeepFor {
  kRun,      ///< until EndRun: whatever is found in a folder that is being worked in
  kProcess,  ///< whatever has come from outside, as a path or an FSSpec
};

/// How an item has been seen.
enum class Sight : std::uint8_t {
  kListed,      ///< in its folder's listing alone
  kSeen,        ///< looked at: a file saved anew under its name is still the user's of that name
  kIdentified,  ///< a folder looked at: whatever else stands there now is refused
};

/// An item by the folder it lies in and its name there.
struct ItemReference {
  /// Room for twenty characters and what makes a taken name unique.
  static constexpr std::size_t kInlineNameSize = 59;

  std::uint64_t inode;   ///< of an item only listed as the listing has it: some volumes make it up
  CPackedDevice device;  ///< the item's own where it is identified, else of the folder it lies in
  FolderIndex folder;    ///< the folder it lies in; 0: refers to nothing
  /// In bytes: 255 UTF-16 units, which NTFS, exFAT and FAT allow a name, are up to 765.
  std::uint16_t nameLength;
  ItemKind kind;  ///< as it was seen last
  Sight sight;
  /// Zero-terminated; a longer name's address in the table of names.
  char name[kInlineNameSize + 1];

  /// The name as on disk, zero-terminated.
  const char *Name() const;
  std::string_view NameView() const { return {Name(), nameLength}; }
  bool IsIdentified() const { return sight == Sight::kIdentified; }
  /// Whether it is the root folder, which lies in itself under the name "/".
  bool IsRoot() const;
  void SetName(std::string_view bytes, KeepFor keepFor = KeepFor::kRun);
};
static_assert(sizeof(ItemReference) == sizeof(FSRef));

const ItemReference &ReferenceIn(const FSRef &ref);
FSRef RefHolding(const ItemReference &reference);

/// Whether two references are the same in every byte; two that are not may still lead to the same
/// item.
bool IsSameReference(const FSRef &first, const FSRef &second);

/// A name that is kept for so long; the same name is kept once. Zero-terminated.
const char *KeepName(std::string_view bytes, KeepFor keepFor);
void ForgetNamesOfRun();

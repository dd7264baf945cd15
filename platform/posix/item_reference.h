/// What the 80 opaque bytes of an FSRef hold.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/file_manager.h"

/// The place of a folder in the process-wide table of folders; 0 stands for none.
using FolderIndex = std::uint32_t;
inline constexpr FolderIndex kRootFolder = 1;

enum class ItemKind : std::uint8_t {
  kUnknown,  ///< the folder's listing did not say
  kFolder,
  kOther,  ///< file, symbolic link, socket, pipe or device
};

/// An item by the folder it lies in and its name there.
struct ItemReference {
  static constexpr std::size_t kInlineNameSize = 56;

  std::uint64_t device;  ///< of the item itself where `isIdentified`, else of the folder it lies in
  std::uint64_t inode;   ///< 0 when only a listing has told of the item
  FolderIndex folder;    ///< the folder it lies in; 0: refers to nothing
  ItemKind kind;         ///< as it was seen last
  bool isIdentified;     ///< a folder seen by itself: whatever else stands there now is refused
                         ///< refused
  std::uint8_t nameLength;  ///< in bytes, 1 to 255
  char name[kInlineNameSize +
            1];  ///< zero-terminated; a longer name's address in the table of names

  /// The name as on disk, zero-terminated.
  const char *Name() const;
  std::string_view NameView() const { return {Name(), nameLength}; }
  /// Whether it is the root folder, which lies in itself under the name "/".
  bool IsRoot() const;
  void SetName(std::string_view bytes);
};
static_assert(sizeof(ItemReference) == sizeof(FSRef));

const ItemReference &ReferenceIn(const FSRef &ref);
FSRef RefHolding(const ItemReference &reference);

/// Whether two references are the same in every byte; two that are not may still lead to the same
/// item.
bool IsSameReference(const FSRef &first, const FSRef &second);

/// A name kept for the life of the process; the same name is kept once. Zero-terminated.
const char *KeepName(std::string_view bytes);

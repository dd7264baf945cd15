/// The File Manager: existing files and folders by reference, one folder's items by
/// iterator, and the few changes that a flattening needs.
///
/// A reference never holds a path. It names an item by the folder it lies in and its name
/// there; a folder is remembered by identity, and a folder that has been swapped for
/// something else (a symbolic link above all) is refused, never followed. Symbolic links,
/// sockets, pipes and devices are items that are not folders; no call opens or follows them.
///
/// Unless said otherwise a call returns `noErr`, or
///   fnfErr           the item, or a folder on the way to it, does not exist
///   dupFNErr         the name is taken
///   afpAccessDenied  permission is missing
///   permErr          the operation is not permitted on this item
///   wPrErr           the volume is read-only
///   dskFulErr        the volume is full, or a quota is
///   bdNamErr         the name is too long, or cannot be a name
///   diffVolErr       the two places lie on different volumes
///   fBsyErr          the item is in use, or is a folder that is not empty
///   dirNFErr         a folder was needed and something else was found
///   tmfoErr          too many open files
///   memFullErr       memory ran out
///   paramErr         an argument makes no sense, such as a reference of zero bytes
///   ioErr            anything else
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "platform/types.h"

/// Refers to an existing file or folder. Opaque and copied by value; 80 zero bytes refer to
/// nothing. What it refers to is found again by place and name at each use.
struct FSRef {
  alignas(8) std::uint8_t hidden[80];
};
static_assert(sizeof(FSRef) == 80);

/// A file name: up to 255 UTF-16 units. Bytes of a name on disk that are not UTF-8 stand in it as
/// lone surrogates U+DC80 to U+DCFF and come back as those bytes.
struct HFSUniStr255 {
  std::uint16_t length;
  char16_t unicode[255];

  std::u16string_view View() const { return {unicode, length}; }
};

#pragma pack(push, 2)
/// Refers to an item that need not exist. Opaque, as `FSRef` is.
struct FSSpec {
  std::int16_t vRefNum;
  std::int32_t parID;
  std::uint8_t name[64];
};
#pragma pack(pop)
static_assert(sizeof(FSSpec) == 70);

using FSCatalogInfoBitmap = std::uint32_t;
inline constexpr FSCatalogInfoBitmap kFSCatInfoNone = 0;
inline constexpr FSCatalogInfoBitmap kFSCatInfoTextEncoding = 0x0001;
inline constexpr FSCatalogInfoBitmap kFSCatInfoNodeFlags = 0x0002;
inline constexpr FSCatalogInfoBitmap kFSCatInfoVolume = 0x0004;
inline constexpr FSCatalogInfoBitmap kFSCatInfoNodeID = 0x0010;
inline constexpr FSCatalogInfoBitmap kFSCatInfoFinderInfo = 0x0800;
inline constexpr FSCatalogInfoBitmap kFSCatInfoFinderXInfo = 0x1000;

inline constexpr std::uint16_t kFSNodeLockedMask = 0x0001;
inline constexpr std::uint16_t kFSNodeIsDirectoryMask = 0x0010;

/// The node ID of a volume's root folder; no other item has it.
inline constexpr std::uint32_t fsRtDirID = 2;

/// Bits of the Finder flags, the big-endian 16-bit number at bytes 8 and 9 of the Finder info.
inline constexpr std::uint16_t kHasBundle = 0x2000;
inline constexpr std::uint16_t kIsInvisible = 0x4000;

using TextEncoding = std::uint32_t;
inline constexpr TextEncoding kTextEncodingUnknown = 0xFFFF;

/// Only the fields that were asked for are set.
struct FSCatalogInfo {
  std::uint16_t
      nodeFlags;  ///< kFSNode… bits. Locked: no write permission for the owner, or immutable.
  std::int16_t volume;             ///< the volume's number, the same for the life of the process
  std::uint32_t nodeID;            ///< fsRtDirID for a root folder, never for anything else
  TextEncoding textEncodingHint;   ///< always kTextEncodingUnknown: names on disk are bytes
  std::uint8_t finderInfo[16];     ///< zeros when the item has none
  std::uint8_t extFinderInfo[16];  ///< zeros when the item has none
};

/// Reads what is asked of `ref`: the fields of `whichInfo` into `info`, and the name, the
/// FSSpec and the folder that holds the item where these outputs are given. A root folder's
/// parent is the folder itself.
///
/// Fails with fnfErr when the item no longer exists, except that the volume, the node ID, the text
/// encoding and the parent may be answered from what the reference remembers, and the name and the
/// Finder information too while the item's folder has not changed since it was listed.
OSErr FSGetCatalogInfo(const FSRef &ref, FSCatalogInfoBitmap whichInfo, FSCatalogInfo *info,
                       HFSUniStr255 *name, FSSpec *spec, FSRef *parent);

/// Writes the fields of `whichInfo`, of which only kFSCatInfoNodeFlags can be written: clearing the
/// locked bit gives the owner write permission and takes the immutable attribute away, as far as
/// the user may. An item other than a folder that has further hard links is left as it is
/// (permErr), because the change would show at the other links too.
OSErr FSSetCatalogInfo(const FSRef &ref, FSCatalogInfoBitmap whichInfo, const FSCatalogInfo &info);

/// The items of one folder being read. Given back by letting it go.
struct FolderIterator;
struct FolderIteratorCloser {
  void operator()(FolderIterator *iterator) const;
};
using FSIterator = std::unique_ptr<FolderIterator, FolderIteratorCloser>;

using FSIteratorFlags = std::uint32_t;
inline constexpr FSIteratorFlags kFSIterateFlat = 0;    ///< the folder's direct items
inline constexpr FSIteratorFlags kFSIterateDelete = 2;  ///< the same, while the caller deletes them
/// Joined to kFSIterateFlat for walks through a tree that come one after the other while nothing is
/// changed: a folder may then be read once for all of them, and what could not be read is kept in
/// mind for deleting iterators.
inline constexpr FSIteratorFlags kFSIterateScan = 0x100;

/// Opens `container` for reading its direct items. A folder that cannot be opened or listed, for
/// whatever reason, is not reported here but by the first read; a scan reads afpAccessDenied then,
/// which lets a walk go on beside it, and the reason from FSGetIteratorError.
///
/// A deleting iterator is refused where nobody knows what would be deleted: with the error of a
/// scan that could not read the folder, with errFSRefsDifferent where the scan has met another
/// folder in its place, and with fBsyErr on a folder on which another volume is mounted.
OSErr FSOpenIterator(const FSRef &container, FSIteratorFlags flags, FSIterator *iterator);

/// Why the folder could not be opened or listed; noErr when it could.
OSErr FSGetIteratorError(const FSIterator &iterator);

/// Reads up to `maximum` further items in byte order of their names and says in `actual` how many
/// came. Returns errFSNoMoreItems when there is nothing left after them. Each output but `actual`
/// may be left out; those given are arrays of `maximum` entries. A name of more than 255 units, of
/// those asked for, is bdNamErr.
///
/// The folder is listed once, when it is opened, so `containerChanged` is always false. Of the node
/// flags only the folder bit is carried: the locked bit would cost a look at every item.
OSErr FSGetCatalogInfoBulk(const FSIterator &iterator, std::uint32_t maximum, std::uint32_t *actual,
                           bool *containerChanged, FSCatalogInfoBitmap whichInfo,
                           FSCatalogInfo *infos, FSRef *refs, FSSpec *specs, HFSUniStr255 *names);

/// Finds the item called `name` in the folder `parent`; fnfErr says that the name is free there.
/// That it is free may be answered from what is known of the folder; when another program has taken
/// the name meanwhile, a move to it fails with dupFNErr, and the next lookup finds it.
OSErr FSMakeFSRefUnicode(const FSRef &parent, std::u16string_view name, TextEncoding hint,
                         FSRef *result);

/// The same lookup with its arguments in a block.
struct FSRefParam {
  const FSRef *ref;
  std::uint32_t nameLength;
  const char16_t *name;
  TextEncoding textEncodingHint;
  FSRef *newRef;
};
OSErr PBMakeFSRefUnicodeSync(const FSRefParam &param);

/// Makes a folder called `name` in `parent`. Never touches an item that has the name already
/// (dupFNErr).
OSErr FSCreateDirectoryUnicode(const FSRef &parent, std::u16string_view name, FSRef *result);

/// Deletes a file, or a folder that is empty. userCanceledErr, and nothing is deleted, when the
/// program has been told to end meanwhile.
OSErr FSDeleteObject(const FSRef &ref);

/// Moves an item into another folder of its volume under the name it has. Never replaces anything:
/// a taken name is dupFNErr and nothing has changed. `result`, which may be where `ref` stands,
/// then refers to the item at its new place; it is left alone on failure.
OSErr FSMoveObject(const FSRef &ref, const FSRef &destination, FSRef *result);

/// Gives an item another name in its folder, under the same rules as FSMoveObject. The hint is not
/// used.
OSErr FSRenameUnicode(const FSRef &ref, std::u16string_view name, TextEncoding hint, FSRef *result);

/// Tells that the calls until FSEndMove move an item into another folder of its volume under a new
/// name, or take that back: however many steps it takes, it is one move. Fails, and FSEndMove is
/// not to be called, for a folder that is none (dirNFErr) and a name that is none (bdNamErr).
OSErr FSBeginMove(const FSRef &ref, const FSRef &destination, std::u16string_view newName);
void FSEndMove();

/// noErr when both refer to the same item at the same place, else errFSRefsDifferent.
OSErr FSCompareFSRefs(const FSRef &first, const FSRef &second);

/// The item's name, as the bytes that the reference has: the disk is not looked at. Valid as long
/// as `ref` stays as it is.
std::string_view FSGetNameBytes(const FSRef &ref);

/// Writes the item's absolute path, zero-terminated, as the bytes it has on disk. A path that does
/// not fit in `size` bytes is bdNamErr.
OSStatus FSRefMakePath(const FSRef &ref, char *path, std::uint32_t size);

/// Refers to the item at an absolute path. The item itself is named, never what a symbolic link
/// points to, and no component before it may be a link (dirNFErr): paths written by
/// FSRefMakePath are of this kind. `isFolder` may be left out.
OSStatus FSPathMakeRef(const char *path, FSRef *ref, bool *isFolder);

/// Refers to the existing item that `spec` names.
OSErr FSpMakeFSRef(const FSSpec &spec, FSRef *ref);

/// An alias record: bytes that lead back to an item. Empty while no alias has been made in it.
using AliasHandle = std::unique_ptr<std::vector<std::uint8_t>>;

/// Makes a new alias of the item in `alias`. `fromFile` is not used and may be left out.
OSErr NewAlias(const FSSpec *fromFile, const FSSpec &target, AliasHandle *alias);

/// Makes `alias`, which NewAlias has made, lead to `target`. On failure it keeps what it held.
OSErr UpdateAlias(const FSSpec *fromFile, const FSSpec &target, const AliasHandle &alias,
                  bool *wasChanged);

/// Gives back what has been remembered of all that was worked in since the last call. References to
/// what lay in a folder then lead nowhere; those made of paths and of an FSSpec stay good.
void FSForgetRun();

#include "fsutil/move_item.h"

namespace {

// Every search begins here, so that the name of an item caught halfway can be told at sight.
constexpr std::uint32_t kFirstTemporaryName = FourChars("Qzrt");
constexpr std::uint16_t kTemporaryNameLength = 8;

void WriteTemporaryName(std::uint32_t value, HFSUniStr255 *name) {
  constexpr char16_t kDigits[] = u"0123456789ABCDEF";
  for (std::uint16_t i = 0; i < kTemporaryNameLength; ++i) {
    name->unicode[i] = kDigits[value >> (28 - 4 * i) & 0xF];
  }
  name->length = kTemporaryNameLength;
}

/// Through a temporary name, for the old one may be taken there and the new one here.
OSErr MoveInSteps(const FSRef &destination, const FSRef &oldFolder, std::u16string_view oldName,
                  TextEncoding oldHint, std::u16string_view newName, TextEncoding hint,
                  FSRef *item) {
  std::uint32_t counter = kFirstTemporaryName;
  HFSUniStr255 temporaryName;
  OSErr error = FindFreeTemporaryName(&counter, oldFolder, destination, &temporaryName);
  if (error != noErr) return error;
  error = FSRenameUnicode(*item, temporaryName.View(), kTextEncodingUnknown, item);
  if (error != noErr) return error;

  error = FSMoveObject(*item, destination, item);
  if (error == noErr) {
    error = FSRenameUnicode(*item, newName, hint, item);
    if (error == noErr) return noErr;
    // Undoing is best effort: the error to report is the one that made it necessary.
    (void)FSMoveObject(*item, oldFolder, item);
  }
  (void)FSRenameUnicode(*item, oldName, oldHint, item);
  return error;
}

OSErr LookUp(const FSRef &folder, const HFSUniStr255 &name) {
  FSRef found;
  return PBMakeFSRefUnicodeSync(
      {&folder, kTemporaryNameLength, name.unicode, kTextEncodingUnknown, &found});
}

}  // namespace

OSErr MoveItemWithNewName(const FSRef &item, const FSRef &destination,
                          std::optional<std::u16string_view> newName, TextEncoding hint,
                          FSRef *result) {
  if (result == nullptr) return paramErr;
  *result = item;

  FSCatalogInfo destinationInfo;
  OSErr error =
      FSGetCatalogInfo(destination, kFSCatInfoVolume, &destinationInfo, nullptr, nullptr, nullptr);
  if (error != noErr) return error;
  FSCatalogInfo itemInfo;
  HFSUniStr255 oldName;
  FSRef oldFolder;
  // The old name is for undoing a move under a new one.
  error = FSGetCatalogInfo(*result, kFSCatInfoTextEncoding | kFSCatInfoVolume, &itemInfo,
                           newName ? &oldName : nullptr, nullptr, &oldFolder);
  if (error != noErr) return error;
  if (itemInfo.volume != destinationInfo.volume) return diffVolErr;

  if (!newName) return FSMoveObject(*result, destination, result);

  error = FSBeginMove(*result, destination, *newName);
  if (error != noErr) return error;
  error = MoveInSteps(destination, oldFolder, oldName.View(), itemInfo.textEncodingHint, *newName,
                      hint, result);
  FSEndMove();
  return error;
}

OSErr FindFreeTemporaryName(std::uint32_t *counter, const FSRef &source, const FSRef &destination,
                            HFSUniStr255 *name) {
  while (true) {
    WriteTemporaryName(*counter, name);
    OSErr error = LookUp(source, *name);
    if (error != noErr && error != fnfErr) return error;
    if (error == fnfErr) {
      error = LookUp(destination, *name);
      if (error != noErr && error != fnfErr) return error;
    }
    ++*counter;
    // What is left: free in both folders, or found in one of them.
    if (error == fnfErr) return noErr;
  }
}


#include <cerrno>
#include <climits>
#include <string_view>

#include "platform/aliases.h"
#include "platform/linux/system/errors.h"
#include "platform/linux/tree/folder_table.h"
#include "platform/linux/tree/item_location.h"
#include "platform/linux/tree/item_status.h"
#include "platform/linux/tree/tree_changes.h"
#include "platform/linux/tree/tree_memory.h"

namespace {

/// 0 stands for the file's own name.
std::string AliasName(std::string_view name, std::uint64_t number) {
  std::string alias(name);
  if (number > 0) alias += " alias";
  if (number > 1) alias.append(" ").append(std::to_string(number));
  return alias;
}

bool IsTaken(const OpenedFolder &folder, const std::string &name) {
  if (Memory().names.IsFree(folder.index, folder.descriptor, name)) return false;
  ItemStatus status;
  return Tree().LookUp(folder, name.c_str(), &status) == 0;
}

/// Makes the link under the first name that is free; the list of names has no end.
int MakeLink(const OpenedFolder &folder, std::string_view name, const char *target,
             std::string *made) {
  std::uint64_t &number = Memory().aliasNumbers[{folder.index, std::string(name)}];
  for (;; ++number) {
    *made = AliasName(name, number);
    if (IsTaken(folder, *made)) continue;
    const int error = MakeSymbolicLink(folder, made->c_str(), target);
    if (error != EEXIST) return error;
  }
}

}  // namespace

OSErr MakeAliasFile(const FSRef &file, const FSRef &folder, FSRef *alias) {
  if (ReferenceIn(file).folder == 0 || ReferenceIn(file).IsRoot()) return paramErr;
  ItemStatus status;
  ItemLocation location;
  if (OSErr error = ReadItemStatus(file, &status, &location); error != noErr) return error;
  OpenedFolder opened{-1, 0};
  OSErr error = FindTableFolder(folder, &opened.index, &opened.descriptor);
  if (error != noErr) return error;
  std::string made;
  error = ErrorFromErrno(MakeLink(opened, NameOnDisk(file), PathOnDisk(file).c_str(), &made));
  if (error != noErr) return error;
  ItemReference reference{};
  reference.device = EntryOf(opened.index).device;
  reference.folder = opened.index;
  reference.kind = ItemKind::kOther;
  reference.SetName(made);
  *alias = RefHolding(reference);
  return noErr;
}

OSErr RetargetAliasFile(const FSRef &alias, const std::string &oldPath,
                        const std::string &newPath) {
  ItemLocation location;
  if (OSErr error = LocateItem(alias, &location); error != noErr) return error;
  if (newPath.size() >= PATH_MAX) return bdNamErr;
  const OpenedFolder folder{location.folder, ReferenceIn(alias).folder};
  // A link cannot be changed. What leads to nothing any more is no loss should this be all.
  const int error = RemoveSymbolicLink(folder, location.name, oldPath);
  // Somebody else's link, or no link at all.
  if (error == ESTALE || error == EINVAL) return fnfErr;
  if (error != 0) return ErrorFromErrno(error);
  return ErrorFromErrno(MakeSymbolicLink(folder, location.name, newPath.c_str()));
}

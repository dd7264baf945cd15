#include "platform/linux/files/item_specs.h"

#include <cstring>

#include "platform/linux/tree/folder_table.h"
#include "platform/linux/tree/item_status.h"

// An FSSpec holds the folder's place in the table and the name: after a length byte while it
// fits, else, after a length of 0, the address of the name that is kept.

FSSpec SpecOfItem(const ItemReference &item) {
  FSSpec spec{};
  spec.vRefNum = VolumeOfDevice(item.device);
  spec.parID = static_cast<std::int32_t>(item.folder);
  if (item.nameLength < sizeof spec.name) {
    spec.name[0] = static_cast<std::uint8_t>(item.nameLength);
    std::memcpy(spec.name + 1, item.Name(), item.nameLength);
  } else {
    const char *kept = KeepName(item.NameView(), KeepFor::kProcess);
    std::memcpy(spec.name + 1, &kept, sizeof kept);
  }
  return spec;
}

OSErr FSpMakeFSRef(const FSSpec &spec, FSRef *ref) {
  const auto folder = static_cast<FolderIndex>(spec.parID);
  if (folder == 0) return paramErr;
  std::string_view name(reinterpret_cast<const char *>(spec.name + 1), spec.name[0]);
  if (name.empty()) {
    const char *kept = nullptr;
    std::memcpy(&kept, spec.name + 1, sizeof kept);
    if (kept == nullptr) return paramErr;
    name = kept;
  }
  ItemReference item{};
  item.folder = folder;
  item.SetName(name, KeepFor::kProcess);
  const FSRef found = RefHolding(item);
  ItemStatus status;
  ItemLocation location;
  if (OSErr error = ReadItemStatus(found, &status, &location); error != noErr) return error;
  *ref = RefHolding(ReferenceToSeenItem(folder, name, status, KeepFor::kProcess));
  return noErr;
}

OSErr NewAlias(const FSSpec *fromFile, const FSSpec &target, AliasHandle *alias) {
  auto made = std::make_unique<std::vector<std::uint8_t>>();
  const OSErr error = UpdateAlias(fromFile, target, made, nullptr);
  if (error == noErr) *alias = std::move(made);
  return error;
}

OSErr UpdateAlias(const FSSpec * /*fromFile*/, const FSSpec &target, const AliasHandle &alias,
                  bool *wasChanged) {
  if (alias == nullptr) return paramErr;
  FSRef item;
  if (OSErr error = FSpMakeFSRef(target, &item); error != noErr) return error;
  std::vector<std::uint8_t> bytes(sizeof target);
  std::memcpy(bytes.data(), &target, sizeof target);
  if (wasChanged != nullptr) *wasChanged = *alias != bytes;
  *alias = std::move(bytes);
  return noErr;
}

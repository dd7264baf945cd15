#include "platform/apple_events.h"

#include <cstring>
#include <utility>

#include "platform/file_manager.h"
#include "platform/processes.h"

namespace {

bool IsOwnProcess(const AEAddressDesc &target) {
  ProcessSerialNumber process;
  if (target.descriptorType != typeProcessSerialNumber || target.data.size() != sizeof process)
    return false;
  std::memcpy(&process, target.data.data(), sizeof process);
  return process.highLongOfPSN == 0 && process.lowLongOfPSN == kCurrentProcess;
}

/// Makes `desc` be of another type, as far as a coercion is known.
OSErr Coerce(const AEDesc &desc, DescType desiredType, AEDesc *result) {
  if (desc.descriptorType == desiredType) {
    *result = desc;
    return noErr;
  }
  if (desc.descriptorType == typeAlias && desiredType == typeFSRef) {
    FSSpec spec;
    FSRef ref;
    if (desc.data.size() != sizeof spec) return errAECoercionFail;
    std::memcpy(&spec, desc.data.data(), sizeof spec);
    if (FSpMakeFSRef(spec, &ref) != noErr) return errAECoercionFail;
    return AECreateDesc(typeFSRef, &ref, sizeof ref, result);
  }
  if (desiredType == typeAEList && desc.descriptorType != typeNull) {
    AEDesc list;
    list.descriptorType = typeAEList;
    list.items.push_back(desc);
    *result = std::move(list);
    return noErr;
  }
  return errAECoercionFail;
}

}  // namespace

OSErr AECreateDesc(DescType type, const void *data, std::size_t size, AEDesc *result) {
  const auto *bytes = static_cast<const std::uint8_t *>(data);
  AEDesc desc;
  desc.descriptorType = type;
  if (size > 0) desc.data.assign(bytes, bytes + size);
  *result = std::move(desc);
  return noErr;
}

OSErr AECreateList(const void *factoring, std::size_t factoredSize, bool isRecord,
                   AEDescList *list) {
  if (factoring != nullptr || factoredSize != 0 || isRecord) return paramErr;
  return AECreateDesc(typeAEList, nullptr, 0, list);
}

OSErr AEPutPtr(AEDescList *list, std::int32_t index, DescType type, const void *data,
               std::size_t size) {
  if (list->descriptorType != typeAEList) return errAECoercionFail;
  const std::size_t end = list->items.size();
  if (index < 0 || static_cast<std::size_t>(index) > end + 1) return paramErr;
  const std::size_t place = index == 0 ? end : static_cast<std::size_t>(index) - 1;
  if (place == end) list->items.emplace_back();
  return AECreateDesc(type, data, size, &list->items[place]);
}

OSErr AECountItems(const AEDescList &list, std::int32_t *count) {
  if (list.descriptorType != typeAEList) return errAECoercionFail;
  *count = static_cast<std::int32_t>(list.items.size());
  return noErr;
}

OSErr AEGetNthPtr(const AEDescList &list, std::int32_t index, DescType desiredType, void *data,
                  std::size_t size) {
  if (list.descriptorType != typeAEList) return errAECoercionFail;
  if (index < 1 || static_cast<std::size_t>(index) > list.items.size()) return errAEDescNotFound;
  AEDesc item;
  const std::size_t place = static_cast<std::size_t>(index) - 1;
  if (const OSErr error = Coerce(list.items[place], desiredType, &item); error != noErr)
    return error;
  if (item.data.size() > size) return errAECoercionFail;
  if (!item.data.empty()) std::memcpy(data, item.data.data(), item.data.size());
  return noErr;
}

OSErr AECreateAppleEvent(AEEventClass eventClass, AEEventID eventID, const AEAddressDesc &target,
                         std::int16_t, std::int32_t, AppleEvent *event) {
  if (!IsOwnProcess(target)) return paramErr;
  AppleEvent created;
  created.descriptorType = typeAppleEvent;
  created.eventClass = eventClass;
  created.eventID = eventID;
  *event = std::move(created);
  return noErr;
}

OSErr AEPutParamDesc(AppleEvent *event, AEKeyword keyword, const AEDesc &value) {
  if (event->descriptorType != typeAppleEvent) return errAECoercionFail;
  event->parameters[keyword] = value;
  return noErr;
}

OSErr AEGetParamDesc(const AppleEvent &event, AEKeyword keyword, DescType desiredType,
                     AEDesc *result) {
  const auto found = event.parameters.find(keyword);
  if (found == event.parameters.end()) return errAEDescNotFound;
  return Coerce(found->second, desiredType, result);
}

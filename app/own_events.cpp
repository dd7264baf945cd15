#include "app/own_events.h"

#include "platform/processes.h"

OSErr SendItemsToSelf(AEEventID eventID, const AEDescList &items) {
  constexpr ProcessSerialNumber kSelf{0, kCurrentProcess};
  AEAddressDesc target;
  OSErr error = AECreateDesc(typeProcessSerialNumber, &kSelf, sizeof kSelf, &target);
  if (error != noErr) return error;
  AppleEvent event;
  error = AECreateAppleEvent(kCoreEventClass, eventID, target, kAutoGenerateReturnID,
                             kAnyTransactionID, &event);
  if (error != noErr) return error;
  error = AEPutParamDesc(&event, keyDirectObject, items);
  if (error != noErr) return error;
  AppleEvent reply;
  return AESend(event, &reply, kAENoReply, kAENormalPriority, kAEDefaultTimeout);
}

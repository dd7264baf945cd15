/// The Apple Event Manager: descriptors, lists of them, and events sent to the own process.
#pragma once

#include <cstddef>
#include <map>
#include <vector>

#include "platform/types.h"

using DescType = FourCharCode;
using AEKeyword = FourCharCode;
using AEEventClass = FourCharCode;
using AEEventID = FourCharCode;

inline constexpr DescType typeNull = FourChars("null");
inline constexpr DescType typeAEList = FourChars("list");
inline constexpr DescType typeAppleEvent = FourChars("aevt");
inline constexpr DescType typeAlias = FourChars("alis");
inline constexpr DescType typeFSRef = FourChars("fsrf");
inline constexpr DescType typeProcessSerialNumber = FourChars("psn ");
inline constexpr AEKeyword keyDirectObject = FourChars("----");
inline constexpr AEEventClass kCoreEventClass = FourChars("aevt");
inline constexpr AEEventID kAEOpenDocuments = FourChars("odoc");
/// Our own: what opening these would do is to be shown, and nothing done.
inline constexpr AEEventID kAEPreviewDocuments = FourChars("pvew");

/// A typed piece of data, a list of such, or an event with its parameters. Owns all it holds; a
/// copy is a full copy.
struct AEDesc {
  DescType descriptorType = typeNull;
  std::vector<std::uint8_t> data;          ///< the bytes of a plain descriptor
  std::vector<AEDesc> items;               ///< the items of a list
  std::map<AEKeyword, AEDesc> parameters;  ///< the parameters of an event
  AEEventClass eventClass = 0;             ///< of an event
  AEEventID eventID = 0;                   ///< of an event
};
using AEDescList = AEDesc;
using AppleEvent = AEDesc;
using AEAddressDesc = AEDesc;

OSErr AECreateDesc(DescType type, const void *data, std::size_t size, AEDesc *result);

/// Makes an empty list. Factoring is not supported and records are not: pass none and false.
OSErr AECreateList(const void *factoring, std::size_t factoredSize, bool isRecord,
                   AEDescList *list);

/// Puts an item at a 1-based index: replaces the item that is there, or is appended when the index
/// is one past the end or 0. paramErr for any other index.
OSErr AEPutPtr(AEDescList *list, std::int32_t index, DescType type, const void *data,
               std::size_t size);

/// The number of items. errAECoercionFail for what is not a list.
OSErr AECountItems(const AEDescList &list, std::int32_t *count);

/// Reads the item at a 1-based index as `desiredType` into `size` bytes.
/// An alias is resolved when typeFSRef is desired. errAEDescNotFound when there is no such item,
/// errAECoercionFail when it cannot be had in that type or does not fit.
OSErr AEGetNthPtr(const AEDescList &list, std::int32_t index, DescType desiredType, void *data,
                  std::size_t size);

inline constexpr std::int16_t kAutoGenerateReturnID = -1;
inline constexpr std::int32_t kAnyTransactionID = 0;
inline constexpr std::int32_t kAENoReply = 1;
inline constexpr std::int16_t kAENormalPriority = 0;
inline constexpr std::int32_t kAEDefaultTimeout = -1;

OSErr AECreateAppleEvent(AEEventClass eventClass, AEEventID eventID, const AEAddressDesc &target,
                         std::int16_t returnID, std::int32_t transactionID, AppleEvent *event);
OSErr AEPutParamDesc(AppleEvent *event, AEKeyword keyword, const AEDesc &value);

/// Copies a parameter. errAEDescNotFound when the event has none of that keyword, errAECoercionFail
/// when it is not of `desiredType`; a single item is taken as a list of one.
OSErr AEGetParamDesc(const AppleEvent &event, AEKeyword keyword, DescType desiredType,
                     AEDesc *result);

using AEEventHandlerProc = OSErr (*)(const AppleEvent &event, AppleEvent *reply,
                                     std::intptr_t refCon);
OSErr AEInstallEventHandler(AEEventClass eventClass, AEEventID eventID, AEEventHandlerProc handler,
                            std::intptr_t refCon, bool isSystemHandler);

/// Sends an event. Only the own process can be addressed: the handler runs before the call returns,
/// and its result is returned. errAEEventNotHandled when no handler is installed.
///
/// While a timer's procedure is at work, or a timer that an earlier event has armed has not fired,
/// the event waits for its turn instead, and the answer is noErr.
OSErr AESend(const AppleEvent &event, AppleEvent *reply, std::int32_t sendMode,
             std::int16_t priority, std::int32_t timeout);

/// Forgets the events that wait for their turn.
void AEForgetWaitingEvents();

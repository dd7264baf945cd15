#include "platform/common/event_dispatch.h"

#include <cstring>
#include <memory>

#include "platform/common/carbon_event.h"

namespace {

struct Handler {
  EventHandlerProc procedure;
  EventTypeSpec type;
  void *userData;
};

}  // namespace

struct OpaqueEventTarget {
  std::vector<Handler> handlers;  ///< in the order of their installation
};

namespace {

OSStatus SendToTarget(EventTargetRef target, EventRef event) {
  // A handler may close the window to which the target belongs, so the list is a copy.
  const std::vector<Handler> handlers = target->handlers;
  for (auto handler = handlers.rbegin(); handler != handlers.rend(); ++handler) {
    const auto &[eventClass, eventKind] = handler->type;
    if (eventClass != event->eventClass || eventKind != event->eventKind) continue;
    const OSStatus status = handler->procedure(nullptr, event, handler->userData);
    if (status != eventNotHandledErr) return status;
  }
  return eventNotHandledErr;
}

}  // namespace

EventTargetRef NewEventTarget() {
  return std::make_unique<OpaqueEventTarget>().release();
}

void DisposeEventTarget(EventTargetRef target) {
  std::unique_ptr<OpaqueEventTarget>{target}.reset();
}

EventTargetRef GetApplicationEventTarget() {
  static OpaqueEventTarget application;
  return &application;
}

OSStatus InstallEventHandler(EventTargetRef target, EventHandlerProc handler,
                             const EventTypeSpec &type, void *userData) {
  if (target == nullptr || handler == nullptr) return paramErr;
  target->handlers.push_back({handler, type, userData});
  return noErr;
}

OSType GetEventClass(EventRef event) {
  return event->eventClass;
}

std::uint32_t GetEventKind(EventRef event) {
  return event->eventKind;
}

OSStatus GetEventParameter(EventRef event, OSType name, OSType type, std::size_t size, void *data) {
  if (!event->command || name != kEventParamDirectObject || type != typeHICommand ||
      size != sizeof *event->command)
    return eventParameterNotFoundErr;
  std::memcpy(data, &*event->command, size);
  return noErr;
}

OSStatus SendCommand(EventTargetRef target, OSType commandID) {
  CarbonEvent event;
  event.command = HICommand{0, commandID, 0, 0};
  const EventTargetRef application = GetApplicationEventTarget();
  OSStatus status = eventNotHandledErr;
  if (target != nullptr && target != application) status = SendToTarget(target, &event);
  if (status == eventNotHandledErr) status = SendToTarget(application, &event);
  if (status == eventNotHandledErr && commandID == kHICommandQuit) {
    QuitApplicationEventLoop();
    return noErr;
  }
  return status;
}

void SendWindowActivated(EventTargetRef target) {
  const CarbonEvent event{kEventClassWindow, kEventWindowActivated, {}};
  if (SendToTarget(target, &event) == eventNotHandledErr)
    (void)SendToTarget(GetApplicationEventTarget(), &event);
}

OSErr SendDocuments(AEEventID eventID, const std::vector<FSRef> &items) {
  AppleEvent event;
  event.descriptorType = typeAppleEvent;
  event.eventClass = kCoreEventClass;
  event.eventID = eventID;
  AEDescList &list = event.parameters[keyDirectObject];
  list.descriptorType = typeAEList;
  for (const FSRef &item : items) (void)AEPutPtr(&list, 0, typeFSRef, &item, sizeof item);
  AppleEvent reply;
  return AESend(event, &reply, kAENoReply, kAENormalPriority, kAEDefaultTimeout);
}

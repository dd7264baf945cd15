#include "platform/common/event_dispatch.h"

#include <cstring>
#include <memory>

#include "platform/apple_events.h"
#include "platform/common/carbon_event.h"
#include "platform/processes.h"

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

CarbonEvent MakeCommandEvent(OSType commandID) {
  HICommand command{};
  command.commandID = commandID;
  CarbonEvent event{kEventClassCommand, kEventCommandProcess, {}};
  CarbonEvent::Parameter &parameter = event.parameters[kEventParamDirectObject];
  parameter.type = typeHICommand;
  parameter.data.resize(sizeof command);
  std::memcpy(parameter.data.data(), &command, sizeof command);
  return event;
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
  const auto found = event->parameters.find(name);
  if (found == event->parameters.end()) return eventParameterNotFoundErr;
  const CarbonEvent::Parameter &parameter = found->second;
  if (parameter.type != type || parameter.data.size() != size) return eventParameterNotFoundErr;
  std::memcpy(data, parameter.data.data(), size);
  return noErr;
}

OSStatus SendCommand(EventTargetRef target, OSType commandID) {
  const CarbonEvent event = MakeCommandEvent(commandID);
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

OSErr SendOpenDocuments(const std::vector<FSRef> &items) {
  AEDescList list;
  OSErr error = AECreateList(nullptr, 0, false, &list);
  for (const FSRef &item : items) {
    if (error != noErr) return error;
    error = AEPutPtr(&list, 0, typeFSRef, &item, sizeof item);
  }
  if (error != noErr) return error;

  const ProcessSerialNumber self{0, kCurrentProcess};
  AEAddressDesc target;
  AppleEvent event;
  error = AECreateDesc(typeProcessSerialNumber, &self, sizeof self, &target);
  if (error == noErr) {
    error = AECreateAppleEvent(kCoreEventClass, kAEOpenDocuments, target, kAutoGenerateReturnID,
                               kAnyTransactionID, &event);
  }
  if (error == noErr) error = AEPutParamDesc(&event, keyDirectObject, list);
  AppleEvent reply;
  if (error == noErr)
    error = AESend(event, &reply, kAENoReply, kAENormalPriority, kAEDefaultTimeout);
  return error;
}

#include "platform/common/event_queue.h"

#include <deque>
#include <map>
#include <utility>

#include "platform/apple_events.h"
#include "platform/common/timers.h"
#include "platform/file_manager.h"

namespace {

struct Handler {
  AEEventHandlerProc procedure;
  std::intptr_t refCon;
};
using Handlers = std::map<std::pair<AEEventClass, AEEventID>, Handler>;

Handlers &InstalledHandlers() {
  static Handlers handlers;
  return handlers;
}

struct QueuedEvent {
  AppleEvent event;
  std::int32_t folders;  ///< in its list
};

struct EventQueue {
  std::deque<QueuedEvent> waiting;
  std::int32_t foldersInHand = 0;
  std::int32_t foldersWaiting = 0;
  bool isClosed = false;
};

EventQueue &Queue() {
  static EventQueue queue;
  return queue;
}

std::int32_t CountFolders(const AppleEvent &event) {
  AEDescList items;
  std::int32_t count = 0;
  if (AEGetParamDesc(event, keyDirectObject, typeAEList, &items) != noErr) return 0;
  (void)AECountItems(items, &count);
  std::int32_t folders = 0;
  for (std::int32_t index = 1; index <= count; ++index) {
    FSRef item;
    FSCatalogInfo info;
    if (AEGetNthPtr(items, index, typeFSRef, &item, sizeof item) == noErr &&
        FSGetCatalogInfo(item, kFSCatInfoNodeFlags, &info, nullptr, nullptr, nullptr) == noErr &&
        (info.nodeFlags & kFSNodeIsDirectoryMask) != 0) {
      ++folders;
    }
  }
  return folders;
}

OSErr HandOver(const QueuedEvent &queued, AppleEvent *reply) {
  const auto found = InstalledHandlers().find({queued.event.eventClass, queued.event.eventID});
  if (found == InstalledHandlers().end()) return errAEEventNotHandled;
  const Handler handler = found->second;
  Queue().foldersInHand = queued.folders;
  const CArmingForEvent arming;
  return handler.procedure(queued.event, reply, handler.refCon);
}

}  // namespace

OSErr AEInstallEventHandler(AEEventClass eventClass, AEEventID eventID, AEEventHandlerProc handler,
                            std::intptr_t refCon, bool isSystemHandler) {
  if (handler == nullptr || isSystemHandler) return paramErr;
  InstalledHandlers()[{eventClass, eventID}] = {handler, refCon};
  return noErr;
}

OSErr AESend(const AppleEvent &event, AppleEvent *reply, std::int32_t, std::int16_t, std::int32_t) {
  EventQueue &queue = Queue();
  if (queue.isClosed || !InstalledHandlers().contains({event.eventClass, event.eventID})) {
    return errAEEventNotHandled;
  }
  QueuedEvent queued{event, CountFolders(event)};
  if (!IsEventWorkInHand()) return HandOver(queued, reply);
  queue.foldersWaiting += queued.folders;
  queue.waiting.push_back(std::move(queued));
  return noErr;
}

void AEForgetWaitingEvents() {
  Queue().waiting.clear();
  Queue().foldersWaiting = 0;
}

void HandOverNextEvent() {
  EventQueue &queue = Queue();
  if (!IsEventWorkInHand()) queue.foldersInHand = 0;
  while (!queue.waiting.empty() && !IsEventWorkInHand()) {
    const QueuedEvent next = std::move(queue.waiting.front());
    queue.waiting.pop_front();
    queue.foldersWaiting -= next.folders;
    AppleEvent reply;
    // Its sender was told long ago that it has arrived.
    (void)HandOver(next, &reply);
  }
}

std::int32_t WaitingFolders() {
  return Queue().foldersWaiting;
}

std::int32_t FoldersOfEventInHand() {
  return Queue().foldersInHand;
}

void CloseEventQueue() {
  ResetEventQueue();
  Queue().isClosed = true;
}

void ResetEventQueue() {
  Queue() = {};
}

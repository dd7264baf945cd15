#include "app/open_documents.h"

#include <utility>

#include "engine/dropped_items.h"
#include "engine/flatten_run.h"
#include "platform/processes.h"

OSErr HandleOpenDocuments(const AppleEvent &event, AppleEvent * /*reply*/,
                          std::intptr_t /*refCon*/) {
  (void)SetFrontProcess({0, kCurrentProcess});
  AEDescList items;
  const OSErr error = AEGetParamDesc(event, keyDirectObject, typeAEList, &items);
  if (error != noErr) return error;
  DroppedItemList = std::move(items);
  (void)InstallEventLoopTimer(GetCurrentEventLoop(), 0.001, 0,
                              NewEventLoopTimerUPP(FlattenTimerProc), nullptr, nullptr);
  return noErr;
}

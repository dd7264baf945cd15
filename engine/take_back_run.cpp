#include "engine/take_back_run.h"

#include <algorithm>
#include <string>
#include <utility>

#include "engine/flatten_run.h"
#include "engine/run_observers.h"

std::vector<TakeBackOrder> TakeBackOrders;

namespace {

RunEvent EventOf(TakenBackKind kind) {
  switch (kind) {
    case TakenBackKind::kAlias:
      return RunEvent::kAliasTakenAway;
    case TakenBackKind::kFolderMade:
      return RunEvent::kFolderPutBack;
    case TakenBackKind::kFolderTakenAway:
      return RunEvent::kFolderTakenAway;
    case TakenBackKind::kNotPutBack:
      return RunEvent::kNotPutBack;
    case TakenBackKind::kLost:
      return RunEvent::kLost;
    default:
      return RunEvent::kPutBack;
  }
}

void Tell(const TakeBackOrder &order, const TakenBack &taken) {
  if (taken.kind == TakenBackKind::kNothing) return;
  const RunEvent event = EventOf(taken.kind);
  if (!IsToldOneByOne(event)) return CountRunEvent(event);
  NoteRunEvent({.event = event,
                .item = order.folder,
                .error = taken.error,
                .path = &taken.path,
                .oldPath = taken.oldPath.empty() ? nullptr : &taken.oldPath});
}

// Waits while another process has the folder, as a run that flattens does.
OSErr Begin(const TakeBackOrder &order, std::int32_t *count, std::string *reason) {
  for (;;) {
    const OSErr error = BeginTakingBack(order.run, order.folder, count, reason);
    if (error != fBsyErr || !WaitForBusyFolder(order.folder, *reason)) return error;
    TellObservers(&CRunObserver::BeginPhase, RunPhase::kWaiting, "");
    if (StopOrQuitRequested()) return error;
  }
}

RunOutcome TakeBackSteps(const TakeBackOrder &order, std::int32_t count) {
  const bool isUndo = order.run.how == TakeBack::kUndo;
  TellObservers(&CRunObserver::BeginPhase, isUndo ? RunPhase::kUndoing : RunPhase::kRedoing, "");
  TakenBack taken;
  bool isLeft = true;
  for (std::int32_t done = 0; isLeft && !StopOrQuitRequested(); ++done) {
    isLeft = TakeBackNext(&taken);
    if (!isLeft) break;
    Tell(order, taken);
    TellObservers(&CRunObserver::Advance, std::min(done + 1, count), count);
  }
  TellObservers(&CRunObserver::EndPhase);
  EndTakingBack(isLeft ? RunEnd::kStopped : RunEnd::kDone);
  return isLeft ? RunOutcome::kStopped : RunOutcome::kFinished;
}

void TakeBackRun(const TakeBackOrder &order) {
  FlattenRun.StopRequested = false;
  BeginFolderReport(order.folder);
  TellObservers(&CRunObserver::BeginWork, order.folder);
  std::int32_t count = 0;
  std::string reason;
  const OSErr error = Begin(order, &count, &reason);
  if (error == noErr) return EndFolderReport(TakeBackSteps(order, count));
  EndFolderReport(error == fBsyErr ? RunOutcome::kInUse : RunOutcome::kNoJournal, reason);
}

}  // namespace

void TakeBackTimerProc(EventLoopTimerRef /*timer*/, void * /*userData*/) {
  const std::vector<TakeBackOrder> orders = std::exchange(TakeBackOrders, {});
  TellObservers(&CRunObserver::BeginRun, static_cast<std::int32_t>(orders.size()));
  FlattenRun.StopAllRequested = false;
  for (const TakeBackOrder &order : orders) {
    if (!FlattenRun.StopAllRequested) TakeBackRun(order);
  }
  TellObservers(&CRunObserver::EndRun);
  FSForgetRun();
}

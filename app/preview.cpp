#include "app/preview.h"

#include <utility>

#include "app/open_documents.h"
#include "app/own_events.h"
#include "app/results/plan_source.h"
#include "app/results/run_results.h"
#include "engine/dropped_items.h"
#include "engine/flatten_run.h"
#include "engine/run_observers.h"
#include "platform/plan.h"
#include "platform/processes.h"
#include "prefs/preferences.h"

namespace {

/// To the own process alone: the plan that is shown is to be carried out.
constexpr AEEventID kFlattenPlan = FourChars("flpl");

AEDescList itemsToPlan;  ///< of the preview that is armed
AEDescList itemsOfPlan;  ///< of the plan that is shown

CPlanSource &Plan() {
  static CPlanSource plan([] { (void)SendItemsToSelf(kFlattenPlan, itemsOfPlan); });
  return plan;
}

/// What is asked before runs, as long as one lives.
class CAskingOtherwise {
 public:
  explicit CAskingOtherwise(AskFirst how) : before_(std::exchange(FlattenRun.askFirst, how)) {}
  ~CAskingOtherwise() { FlattenRun.askFirst = before_; }
  CAskingOtherwise(const CAskingOtherwise &) = delete;
  CAskingOtherwise &operator=(const CAskingOtherwise &) = delete;

 private:
  AskFirst before_;
};

struct Planning {
  Planning() { BeginPlan(); }
  ~Planning() { EndPlan(); }
};

void RunAsPlan(const AEDescList &items, bool isAgain) {
  const CAskingOtherwise asking(AskFirst::kNotes);
  const Planning planning;
  DroppedItemList = items;
  Plan().BeginPlan(isAgain);
  FlattenTimerProc(nullptr, nullptr);
}

void ShowNewPlan(const char *news) {
  Plan().ShowNew(news);
  ShowPlan(&Plan());
}

void PreviewTimerProc(EventLoopTimerRef /*timer*/, void * /*userData*/) {
  const AEDescList items = std::exchange(itemsToPlan, {});
  RunAsPlan(items, false);
  if (FlattenRun.QuitRequested) return Plan().ForgetNew();
  itemsOfPlan = items;
  ShowNewPlan("");
}

/// Nobody gets anything else than what he has seen: it is planned once more, and done at once when
/// that comes to the same.
void FlattenPlanTimerProc(EventLoopTimerRef /*timer*/, void * /*userData*/) {
  if (!Plan().IsOrdered()) return;
  const AEDescList items = itemsOfPlan;
  RunAsPlan(items, true);
  if (FlattenRun.QuitRequested || !Plan().IsOrdered()) return Plan().ForgetNew();
  if (!Plan().IsNewTheSame()) {
    return ShowNewPlan(Plan().IsNewStopped() ? ""
                                             : "Something has changed meanwhile, in the folder or "
                                               "in the preferences: nothing was done, and this is "
                                               "the new plan.");
  }
  Plan().Forget();
  GoOnToLatestRun();
  const CAskingOtherwise asking(AskFirst::kNever);
  DroppedItemList = items;
  FlattenTimerProc(nullptr, nullptr);
}

void ArmForEvent(EventLoopTimerProc procedure) {
  (void)InstallEventLoopTimer(GetCurrentEventLoop(), 0.001, 0, NewEventLoopTimerUPP(procedure),
                              nullptr, nullptr);
}

OSErr HandlePreview(const AppleEvent &event, AppleEvent * /*reply*/, std::intptr_t /*refCon*/) {
  (void)SetFrontProcess({0, kCurrentProcess});
  const OSErr error = AEGetParamDesc(event, keyDirectObject, typeAEList, &itemsToPlan);
  if (error == noErr) ArmForEvent(PreviewTimerProc);
  return error;
}

OSErr HandleFlattenPlan(const AppleEvent & /*event*/, AppleEvent * /*reply*/,
                        std::intptr_t /*refCon*/) {
  ArmForEvent(FlattenPlanTimerProc);
  return noErr;
}

/// Has the folders previewed of which a run has told that it asks first.
class CFoldersToAskAbout final : public CRunObserver {
 public:
  void BeginFolder(const FSRef &folder) noexcept override { folder_ = folder; }

  void EndFolder(const FolderReport &report) noexcept override {
    if (report.outcome != RunOutcome::kAsksFirst) return;
    try {
      folders_.descriptorType = typeAEList;
      (void)AEPutPtr(&folders_, 0, typeFSRef, &folder_, sizeof folder_);
    } catch (...) {
      return;  // There is no memory for it. Nothing was done to the folder.
    }
  }

  void EndRun() noexcept override {
    if (folders_.items.empty()) return;
    try {
      (void)SendItemsToSelf(kAEPreviewDocuments, std::exchange(folders_, {}));
    } catch (...) {
      return;  // The same.
    }
  }

 private:
  FSRef folder_{};
  AEDescList folders_;
};

}  // namespace

void InstallPreviews() {
  static CFoldersToAskAbout foldersToAskAbout;
  AddRunObserver(&Plan());
  AddRunObserver(&foldersToAskAbout);
  FlattenRun.askFirst = AskFirst::kBeforeWork;
  (void)AEInstallEventHandler(kCoreEventClass, kAEOpenDocuments, HandleOpenOrPreview, 0, false);
  (void)AEInstallEventHandler(kCoreEventClass, kAEPreviewDocuments, HandlePreview, 0, false);
  (void)AEInstallEventHandler(kCoreEventClass, kFlattenPlan, HandleFlattenPlan, 0, false);
}

OSErr HandleOpenOrPreview(const AppleEvent &event, AppleEvent *reply, std::intptr_t refCon) {
  return GetPreviewFirst() ? HandlePreview(event, reply, refCon)
                           : HandleOpenDocuments(event, reply, refCon);
}

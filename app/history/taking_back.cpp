#include "app/history/taking_back.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/display/main_window.h"
#include "app/history/history_words.h"
#include "app/history/take_back_order.h"
#include "app/own_events.h"
#include "app/results/run_results.h"
#include "engine/run_observers.h"
#include "platform/apple_events.h"
#include "platform/history_window.h"
#include "platform/launch_services.h"
#include "platform/menus.h"
#include "platform/notices.h"
#include "platform/plan.h"

namespace {

constexpr AEEventID kTakeBackEvent = FourChars("tkbk");

/// What a command would take back now.
struct Offer {
  std::vector<TakeBackOrder> orders;  ///< in their order
  std::string path;                   ///< of the folder that can't be taken back; else empty
  std::string reason;                 ///< why there is no order
};

/// The newest run, and with it those of the folders that were dropped, or taken back, together with
/// its own in this process.
Offer FindOffer(TakeBack how) {
  Offer offer;
  const auto newest = FindTakeBackOrder(how, nullptr, &offer.path, &offer.reason);
  if (!newest) return offer;
  offer.orders.push_back(*newest);
  const std::vector<RunOfFolder> together = LatestRunByFolder();
  if (std::ranges::find(together, newest->run.id, &RunOfFolder::journal) == together.end()) {
    return offer;
  }
  for (auto other = together.rbegin(); other != together.rend(); ++other) {
    FSRef folder;
    std::string path;
    std::string reason;
    if (other->journal == newest->run.id ||
        FSPathMakeRef(other->path.c_str(), &folder, nullptr) != noErr) {
      continue;
    }
    const auto order = FindTakeBackOrder(how, &folder, &path, &reason);
    if (order && order->run.id == other->journal) offer.orders.push_back(*order);
  }
  return offer;
}

std::u16string MenuTextOf(TakeBack how, const Offer &offer) {
  std::u16string text = how == TakeBack::kUndo ? u"Undo Flattening" : u"Redo Flattening";
  std::u16string name;
  if (offer.orders.empty() || LSCopyDisplayNameForRef(offer.orders[0].folder, &name) != noErr) {
    return text;
  }
  text.append(u" “").append(name).append(u"”");
  if (offer.orders.size() > 1) {
    const std::string more = " and " + std::to_string(offer.orders.size() - 1) + " More";
    text.append(more.begin(), more.end());
  }
  return text;
}

OSErr HandleTakeBack(const AppleEvent & /*event*/, AppleEvent * /*reply*/,
                     std::intptr_t /*refCon*/) {
  return static_cast<OSErr>(InstallEventLoopTimer(
      GetCurrentEventLoop(), 0.001, 0, NewEventLoopTimerUPP(TakeBackTimerProc), nullptr, nullptr));
}

/// As an event it has its turn like what is dropped.
void Perform(std::vector<TakeBackOrder> orders) {
  TakeBackOrders = std::move(orders);
  AEDescList noItems;
  noItems.descriptorType = typeAEList;
  (void)SendItemsToSelf(kTakeBackEvent, noItems);
}

/// Keeps what is offered up to date.
class CTakingBack final : public CRunObserver, public CHistory {
 public:
  bool IsRunOn() const { return isRunOn_; }

  void Update() {
    for (const TakeBack how : {TakeBack::kUndo, TakeBack::kRedo}) {
      offers_[Place(how)] = FindOffer(how);
      Show(how);
    }
  }

  void TakeBackNewest(TakeBack how) {
    if (IsRunOn()) return TellProblem("Nothing can be taken back while a run is on");
    // Another Vannerly may have been at work since the menu was made.
    Offer offer = FindOffer(how);
    const Offer &shown = offers_[Place(how)];
    const bool isOther = !shown.orders.empty() && !offer.orders.empty() &&
                         shown.orders[0].run.id != offer.orders[0].run.id;
    Update();
    if (offer.orders.empty()) {
      return TellProblem(offer.path.empty() ? offer.reason : offer.path + ": " + offer.reason);
    }
    if (isOther) {
      return TellProblem(offer.orders[0].run.folder +
                         ": was flattened or taken back by another Vannerly meanwhile, so "
                         "nothing was done; do it again if you mean this folder");
    }
    Perform(std::move(offer.orders));
  }

  void BeginRun(std::int32_t /*items*/) noexcept override {
    isRunOn_ = true;
    if (!IsPlanning()) HideControl(MainWindow.undoButton);
    DisableMenuCommand(nullptr, kHICommandUndo);
    DisableMenuCommand(nullptr, kHICommandRedo);
    UpdateHistoryWindow();
  }

  void EndRun() noexcept override {
    isRunOn_ = false;
    try {
      Update();
      // Beside the line that sums the run up.
      const Offer &undo = offers_[Place(TakeBack::kUndo)];
      const std::vector<RunOfFolder> latest = LatestRunByFolder();
      const bool isOfIt =
          !undo.orders.empty() &&
          std::ranges::find(latest, undo.orders[0].run.id, &RunOfFolder::journal) != latest.end();
      if (isOfIt && !IsPlanning()) ShowControl(MainWindow.undoButton);
      UpdateHistoryWindow();
    } catch (...) {
      // There is no memory for it; the next time the window is activated there may be.
    }
  }

  std::vector<HistoryRow> Rows() override {
    // All of each journal is read for it.
    if (!IsRunOn() || runs_.empty()) runs_ = ListPastRuns({});
    std::vector<HistoryRow> rows;
    for (const PastRun &run : runs_) {
      rows.push_back({run.id, LocalTimeOf(run), run.folder, WhatWasDoneIn(run),
                      StateTextOf(run, "; Undo goes on with it"),
                      !IsRunOn() && OrderFor(run).has_value()});
    }
    return rows;
  }

  void Undo(std::size_t row) override {
    const auto order = IsRunOn() ? std::nullopt : OrderFor(runs_[row]);
    if (order) return Perform({*order});
    TellProblem(runs_[row].folder + ": can't be taken back now");
    UpdateHistoryWindow();
  }

  void Show(std::size_t row) override { ShowResultsOf(runs_[row]); }

 private:
  static std::size_t Place(TakeBack how) { return how == TakeBack::kUndo ? 0 : 1; }

  /// Only the newest run in force of a folder can be taken back: what came later has moved on what
  /// it left.
  std::optional<TakeBackOrder> OrderFor(const PastRun &run) const {
    const auto newest = std::ranges::find_if(runs_, [&run](const PastRun &other) {
      return other.folder == run.folder && IsInForce(other);
    });
    FSRef folder;
    std::string path;
    std::string reason;
    if (newest == runs_.end() || newest->id != run.id ||
        FSPathMakeRef(run.folder.c_str(), &folder, nullptr) != noErr) {
      return std::nullopt;
    }
    return FindTakeBackOrder(TakeBack::kUndo, &folder, &path, &reason);
  }

  static bool IsInForce(const PastRun &run) {
    return run.state == PastRunState::kInForce || run.state == PastRunState::kHalfTakenBack;
  }

  void Show(TakeBack how) {
    const Offer &offer = offers_[Place(how)];
    const OSType command = how == TakeBack::kUndo ? kHICommandUndo : kHICommandRedo;
    if (offer.orders.empty()) {
      DisableMenuCommand(nullptr, command);
    } else {
      EnableMenuCommand(nullptr, command);
    }
    MenuRef menu = nullptr;
    MenuItemIndex item = 0;
    if (GetIndMenuItemWithCommandID(nullptr, command, 1, &menu, &item) == noErr) {
      (void)SetMenuItemTextWithCFString(menu, item, MenuTextOf(how, offer));
    }
  }

  bool isRunOn_ = false;
  Offer offers_[2];
  std::vector<PastRun> runs_;  ///< of the rows given last
};

CTakingBack &TakingBack() {
  static CTakingBack takingBack;
  return takingBack;
}

OSStatus HandleActivation(EventHandlerCallRef /*callRef*/, EventRef /*event*/,
                          void * /*userData*/) {
  if (!TakingBack().IsRunOn()) TakingBack().Update();
  return eventNotHandledErr;
}

}  // namespace

void OfferTakingBack() {
  AddRunObserver(&TakingBack());
  (void)AEInstallEventHandler(kCoreEventClass, kTakeBackEvent, HandleTakeBack, 0, false);
  (void)InstallEventHandler(GetApplicationEventTarget(), HandleActivation,
                            {kEventClassWindow, kEventWindowActivated}, nullptr);
  TakingBack().Update();
}

void TakeBackNewest(TakeBack how) {
  TakingBack().TakeBackNewest(how);
}

void ShowHistory() {
  ShowHistoryWindow(&TakingBack());
}

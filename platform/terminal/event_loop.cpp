#include "platform/terminal/event_loop.h"

#include <ctime>
#include <utility>

#include "platform/common/event_dispatch.h"
#include "platform/common/event_queue.h"
#include "platform/common/timers.h"
#include "platform/events.h"
#include "platform/terminal/signals.h"
#include "platform/terminal/status_view.h"

namespace {

std::vector<FSRef> foldersToOpen;
bool isQuit = false;

/// Sleeps until then, or until a signal arrives.
void SleepUntil(TimerClock::time_point time) {
  using namespace std::chrono;
  const auto remaining = ceil<nanoseconds>(time - TimerClock::now());
  if (remaining <= nanoseconds::zero()) return;
  const auto wholeSeconds = floor<seconds>(remaining);
  const timespec span{static_cast<time_t>(wholeSeconds.count()),
                      static_cast<long>((remaining - wholeSeconds).count())};
  (void)nanosleep(&span, nullptr);
}

}  // namespace

void OpenWhenLoopStarts(std::vector<FSRef> folders) {
  foldersToOpen = std::move(folders);
}

void RunApplicationEventLoop() {
  if (!foldersToOpen.empty())
    (void)SendDocuments(kAEOpenDocuments, std::exchange(foldersToOpen, {}));
  while (!isQuit) {
    const auto due = NextTimerDue();
    if (!due) break;
    SleepUntil(*due);
    DeliverSignals();
    if (!isQuit) FireDueTimers(TimerClock::now());
  }
  ClearStatus();
}

void QuitApplicationEventLoop() {
  isQuit = true;
  CloseEventQueue();
}

bool WaitNextEvent(EventMask, EventRecord *event, std::uint32_t, RgnHandle) {
  if (event != nullptr) *event = EventRecord{};
  DeliverSignals();
  DrawStatusWhenDue();
  return false;
}

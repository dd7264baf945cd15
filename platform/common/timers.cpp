#include "platform/common/timers.h"

#include <algorithm>
#include <map>

#include "platform/common/event_queue.h"
#include "platform/events.h"

struct OpaqueEventLoop {};

struct OpaqueEventLoopTimer {
  EventLoopTimerUPP procedure;
  void *userData;
  std::uint64_t number;  ///< counts the timers armed before it
  bool isOfEvent;        ///< begins the work of an event
};

namespace {

/// By the time at which they are due; those of the same time in the order in which they were armed.
using Timers = std::multimap<TimerClock::time_point, OpaqueEventLoopTimer>;

Timers &ArmedTimers() {
  static Timers timers;
  return timers;
}

std::uint64_t timersArmed = 0;
bool isArmingForEvent = false;
bool isFiring = false;

bool IsEventTimerArmed() {
  return std::ranges::any_of(ArmedTimers(),
                             [](const auto &timer) { return timer.second.isOfEvent; });
}

/// Those that may not fire yet wait for the ones of events.
bool IsItsTurn(const OpaqueEventLoopTimer &timer) {
  return timer.isOfEvent || !IsEventTimerArmed();
}

void Fire(OpaqueEventLoopTimer &timer) {
  struct Firing {
    Firing() { isFiring = true; }
    ~Firing() { isFiring = false; }
  };
  const Firing firing;
  timer.procedure(&timer, timer.userData);
}

TimerClock::time_point TimeAfter(EventTimerInterval seconds) {
  // A delay that the clock cannot hold would wrap into the past.
  constexpr EventTimerInterval kLongest = 1e9;
  const std::chrono::duration<double> delay{seconds > 0 ? std::min(seconds, kLongest) : 0};
  return TimerClock::now() + std::chrono::duration_cast<TimerClock::duration>(delay);
}

}  // namespace

EventLoopRef GetCurrentEventLoop() {
  static OpaqueEventLoop loop;
  return &loop;
}

EventLoopTimerUPP NewEventLoopTimerUPP(EventLoopTimerProc procedure) {
  return procedure;
}

OSStatus InstallEventLoopTimer(EventLoopRef loop, EventTimerInterval fireDelay,
                               EventTimerInterval interval, EventLoopTimerUPP procedure,
                               void *userData, EventLoopTimerRef *timer) {
  if (loop == nullptr || procedure == nullptr || interval != 0) return paramErr;
  const auto armed = ArmedTimers().insert(
      {TimeAfter(fireDelay),
       OpaqueEventLoopTimer{procedure, userData, timersArmed++, isArmingForEvent}});
  if (timer != nullptr) *timer = &armed->second;
  return noErr;
}

CArmingForEvent::CArmingForEvent() {
  isArmingForEvent = true;
}

CArmingForEvent::~CArmingForEvent() {
  isArmingForEvent = false;
}

bool IsTimerFiring() {
  return isFiring;
}

bool IsEventWorkInHand() {
  return isFiring || IsEventTimerArmed();
}

std::optional<TimerClock::time_point> NextTimerDue() {
  const auto next = std::ranges::find_if(ArmedTimers(),
                                         [](const auto &timer) { return IsItsTurn(timer.second); });
  if (next == ArmedTimers().end()) return std::nullopt;
  return next->first;
}

void FireDueTimers(TimerClock::time_point now) {
  Timers &timers = ArmedTimers();
  const std::uint64_t armedBefore = timersArmed;
  const auto isNextToFire = [&](const Timers::value_type &timer) {
    return timer.first <= now && timer.second.number < armedBefore && IsItsTurn(timer.second);
  };
  // Looked for anew each time: a callback may arm timers that are due before the ones waiting.
  for (auto next = std::ranges::find_if(timers, isNextToFire); next != timers.end();
       next = std::ranges::find_if(timers, isNextToFire)) {
    // Out of the list while it fires: one that ends the process must not be found there again.
    auto fired = timers.extract(next);
    Fire(fired.mapped());
    HandOverNextEvent();
  }
}

void DisarmTimers() {
  ArmedTimers().clear();
  ResetEventQueue();
}

#include "platform/common/timers.h"

#include <algorithm>
#include <map>

#include "platform/events.h"

struct OpaqueEventLoop {};

struct OpaqueEventLoopTimer {
  EventLoopTimerUPP procedure;
  void *userData;
  std::uint64_t number;  ///< counts the timers armed before it
};

namespace {

/// By the time at which they are due; those of the same time in the order in which they were armed.
using Timers = std::multimap<TimerClock::time_point, OpaqueEventLoopTimer>;

Timers &ArmedTimers() {
  static Timers timers;
  return timers;
}

std::uint64_t timersArmed = 0;

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
      {TimeAfter(fireDelay), OpaqueEventLoopTimer{procedure, userData, timersArmed++}});
  if (timer != nullptr) *timer = &armed->second;
  return noErr;
}

std::optional<TimerClock::time_point> NextTimerDue() {
  if (ArmedTimers().empty()) return std::nullopt;
  return ArmedTimers().begin()->first;
}

void FireDueTimers(TimerClock::time_point now) {
  Timers &timers = ArmedTimers();
  const std::uint64_t armedBefore = timersArmed;
  const auto isNextToFire = [&](const Timers::value_type &timer) {
    return timer.first <= now && timer.second.number < armedBefore;
  };
  // Looked for anew each time: a callback may arm timers that are due before the ones waiting.
  for (auto next = std::ranges::find_if(timers, isNextToFire); next != timers.end();
       next = std::ranges::find_if(timers, isNextToFire)) {
    // Out of the list while it fires: one that ends the process must not be found there again.
    auto fired = timers.extract(next);
    fired.mapped().procedure(&fired.mapped(), fired.mapped().userData);
  }
}

void DisarmTimers() {
  ArmedTimers().clear();
}

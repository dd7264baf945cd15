/// The timers that are armed and have not fired.
///
/// A platform's event loop sleeps until NextTimerDue and then fires what is due; its yields never
/// do.
#pragma once

#include <chrono>
#include <optional>

using TimerClock = std::chrono::steady_clock;

/// While one lives, timers that are armed begin the work of an event. They go before all others: a
/// timer that ends the program must not fire over what a user has dropped.
class CArmingForEvent {
 public:
  CArmingForEvent();
  ~CArmingForEvent();
  CArmingForEvent(const CArmingForEvent &) = delete;
  CArmingForEvent &operator=(const CArmingForEvent &) = delete;
};

/// Whether a timer's procedure is on the stack.
bool IsTimerFiring();

/// The same, or a timer that begins the work of an event has yet to fire.
bool IsEventWorkInHand();

/// When the next timer is due; none when no timer is armed.
std::optional<TimerClock::time_point> NextTimerDue();

/// Fires every timer due at `now`, in the order in which they became due. One that a callback arms
/// waits for the next call, even when it is due at once. After each callback the next event that
/// waits is handed over.
void FireDueTimers(TimerClock::time_point now);

/// Forgets all timers without firing them, and the events that wait for them; for tests, each of
/// which begins anew.
void DisarmTimers();

/// The timers that are armed and have not fired.
///
/// A platform's event loop sleeps until NextTimerDue and then fires what is due; its yields never
/// do.
#pragma once

#include <chrono>
#include <optional>

using TimerClock = std::chrono::steady_clock;

/// When the next timer is due; none when no timer is armed.
std::optional<TimerClock::time_point> NextTimerDue();

/// Fires every timer due at `now`, in the order in which they became due. One that a callback arms
/// waits for the next call, even when it is due at once.
void FireDueTimers(TimerClock::time_point now);

/// Forgets all timers without firing them; for tests, each of which begins anew.
void DisarmTimers();

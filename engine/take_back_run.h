/// The taking back of runs: undo and redo.
#pragma once

#include <vector>

#include "platform/events.h"
#include "platform/history.h"

/// A run, and the folder that it was in, wherever that lies now.
struct TakeBackOrder {
  RunToTakeBack run;
  FSRef folder;
};

/// What TakeBackTimerProc is to do.
extern std::vector<TakeBackOrder> TakeBackOrders;

/// Takes all runs of TakeBackOrders back in turn, and empties it. Each is a run like one that
/// flattens: it can be stopped, and is told to the same observers. Uses neither argument.
void TakeBackTimerProc(EventLoopTimerRef timer, void *userData);

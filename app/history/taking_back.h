/// Undo, redo and the history, as the window offers them.
#pragma once

#include "platform/history.h"
#include "platform/types.h"

inline constexpr OSType kHistoryCommand = FourChars("hist");

/// From now on the menu names what Undo and Redo would take back, whenever a run has ended or the
/// window is activated, and what is ordered is done as an event that has its turn. To be called
/// once, when the menu is there.
void OfferTakingBack();

/// Takes back what the menu names: the newest run, with all that was dropped with it. What can't be
/// done is told.
void TakeBackNewest(TakeBack how);

/// Shows the runs that are kept.
void ShowHistory();

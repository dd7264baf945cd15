/// Open-documents events that wait for their turn.
///
/// The program keeps one list of dropped items, and the newest takes the place of the one before.
/// So an event reaches its handler only when the run that the last one began has ended: each drop
/// is flattened once, in the order of their arrival.
#pragma once

#include <cstdint>

/// Hands over the event that has waited longest, when nothing is in its way. Called whenever a
/// timer's procedure has returned.
void HandOverNextEvent();

/// How many folders are in the events that wait.
std::int32_t WaitingFolders();

/// How many folders are in the event whose run is ahead or at work; 0 when there is none.
std::int32_t FoldersOfEventInHand();

/// Nothing is begun any more: what waits is forgotten, and what is sent from now on goes nowhere.
/// For platforms whose event loop is told to end.
void CloseEventQueue();

/// As at the start of the program; for tests.
void ResetEventQueue();

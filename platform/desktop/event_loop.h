/// What the rest of the window's platform needs to know of its event loop.
#pragma once

#include <cstdint>

/// Whether a timer's procedure (a run) is on the stack: what is delivered now is delivered from one
/// of its yields.
bool IsWorkInHand();

/// How many dropped folders had been taken before the run in hand.
std::uint64_t FoldersBeforeThisRun();

/// Whether the loop has been told to end.
bool IsQuitting();

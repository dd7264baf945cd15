/// What the rest of the window's platform needs to know of its event loop.
#pragma once

/// Whether a timer's procedure (a run) is on the stack: what is delivered now is delivered from one
/// of its yields.
bool IsWorkInHand();

/// Whether the loop has been told to end.
bool IsQuitting();

/// The program on a terminal: what it has of start-up, and its event loop.
#pragma once

/// Puts right what killed runs have left, then flattens the folders that TakeOperands has kept.
/// There are no menus, nothing is dragged, and the only command is Quit.
void RunOnTerminal();

/// The program on a terminal: what it has of start-up, and its event loop.
#pragma once

/// Puts right what killed runs have left, and installs what a run needs. There are no menus,
/// nothing is dragged, and the only command is Quit.
void StartUpOnTerminal();

/// Flattens the folders that TakeOperands has kept.
void FlattenOnTerminal();

/// Carries out TakeBackOrders.
void TakeBackOnTerminal();

/// Signals as commands: SIGINT, SIGTERM and SIGHUP are Quit, and nothing is deleted from the moment
/// at which one arrives.
///
/// The command is sent when the program asks for it, so the file in hand is always finished.
#pragma once

/// Signals that are ignored already stay so: nohup wants it, and scripts for what they run in the
/// background.
void CatchSignals();

/// Sends the command for the first signal that has arrived; the others change nothing.
void DeliverSignals();

/// 128 and the number of the first signal that has arrived; 0 when none has.
int ExitStatusOfSignals();

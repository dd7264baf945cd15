/// Signals as commands: SIGINT is Stop, a second one Quit, and so are SIGTERM and SIGHUP.
///
/// A signal is only counted when it arrives; the command is sent when the program asks for it, so
/// the file in hand is always finished.
#pragma once

/// Signals that are ignored already stay so: nohup wants it, and scripts for what they run in the
/// background.
void CatchSignals();

/// Sends the commands for the signals that have arrived.
void DeliverSignals();

/// Whether a signal that means Quit has arrived.
bool IsQuitSignalled();

/// 128 and the number of the signal that ended the run or, when none did, stopped it; 0 when no
/// signal has arrived.
int ExitStatusOfSignals();

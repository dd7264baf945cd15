/// The signals that ask the program to end.
#pragma once

/// Makes SIGINT, SIGTERM and SIGHUP the Quit command, delivered as any other: from the event loop
/// or a yield. One that the program was started to ignore stays ignored.
void CatchQuitSignals();

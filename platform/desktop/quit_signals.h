/// What ends the program without being able to ask: signals, and the end of the session.
#pragma once

/// Makes SIGINT, SIGTERM, SIGHUP and the session's end the Quit command, delivered as any other:
/// from the event loop or a yield. From the moment at which a signal arrives nothing is deleted any
/// more. One that the program was started to ignore stays ignored.
void CatchQuitSignals();

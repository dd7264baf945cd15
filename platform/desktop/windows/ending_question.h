/// The question before a run is cut short that would then delete files it has not moved.
#pragma once

#include "platform/events.h"

/// To be called whenever a run may begin: the folders taken from then on are its own.
void NoteRunAhead();

/// Whether the command has to wait for the user's answer: a Stop or Quit that would have files
/// deleted for good with the folders in which they still are. The question is then on the screen,
/// and the run goes on beside it; the answer sends the command, or does not.
///
/// A second Quit is an answer too: everything is kept.
bool HasToAskBefore(EventTargetRef target, OSType commandID);

/// Takes the question away when there is nothing left to ask about. To be called whenever the run
/// may have got further.
void UpdateEndingQuestion();

/// Ends the program without asking: nothing is deleted any more, and the run in hand stops before
/// its next file.
void EndWithoutAsking();

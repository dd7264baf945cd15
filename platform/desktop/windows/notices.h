/// What there is to tell the user besides the status of a run: a quiet line in the window with a
/// button that shows all of it, and standard error. Texts are bytes, with names as they are on
/// disk.
///
/// The line shows the newest problem, and how many came with it, until the next drop; one told
/// before there is a window is shown as soon as there is.
#pragma once

#include "platform/notices.h"

/// Tells what is so now and will pass. The window shows it instead, for a moment after it was told
/// last; standard error gets it once.
void TellForNow(const std::string &state);

/// Takes the problems off the line: the next drop comes, with problems of its own.
void ForgetProblems();

/// Shows all problems told since the start, also those that are off the line, until the user
/// dismisses them.
void ShowMessages();
